#pragma once

// One client's conversation with the virtual interface: bytes in, whole requests
// answered from the device model, reply frames out. No I/O here, so that the
// frame handling can be fuzzed on its own.

#include "veltrano_model.h"

#include <cstddef>
#include <cstdint>
#include <vector>

struct response
{
    std::vector<std::uint8_t> reply; // the frame to send, unless the interface vanished
    bool vanish = false;             // the model says the interface is gone: unplug
    bool hang_up = false;            // the stream is not to be trusted: drop the client
    bool wrote_block = false;
    std::uint32_t changed_mask = 0;  // bit i: block byte i was changed by a write
    std::uint8_t before[VV_BLOCK_SIZE] = {};
};

class session
{
public:
    explicit session (vv_model& model) : model (model) {}

    // Takes the next received bytes and answers every whole request among them, in
    // order. After a response with `vanish` or `hang_up`, nothing more is answered.
    std::vector<response> receive (const std::uint8_t* data, std::size_t size);

private:
    response answer (std::uint32_t code, std::uint32_t sequence, std::uint32_t capacity,
                     const std::uint8_t* payload, std::uint32_t length);

    vv_model& model;
    std::vector<std::uint8_t> inbox;
    bool finished = false;
};
