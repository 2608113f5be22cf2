#pragma once

#include "device/qv/brenmar.h"

#include <cstdint>
#include <cstring>

namespace qv
{
// What this product offers: its firmware version and the 16-byte parameter block.
template <class R>
class veltrano : public brenmar<R>
{
public:
    veltrano (const std::string& path, typename port<R>::window& window) : brenmar<R> (path, window)
    {
        firmware = read_firmware();
        if (firmware >= protocol::first_firmware_with_block)
            transfer (false);
    }

    std::uint32_t read_firmware()
    {
        auto buffer = protocol::firmware_request();
        this->vendor_request (buffer.data(), static_cast<std::uint32_t> (buffer.size()));
        return protocol::decode_firmware (buffer);
    }

    // Reads the block into `parameters` or sends `parameters`. A failed read leaves
    // `parameters` as it was.
    void transfer (bool write)
    {
        auto buffer = protocol::block_request (write, parameters);
        this->vendor_request (buffer.data(), static_cast<std::uint32_t> (buffer.size()));
        if (! write)
            protocol::block_reply (buffer, parameters);
    }

    // Changes bytes the one way the panel does: `set` is given the block as the interface
    // has it now, and the whole block goes back. A failed read writes nothing.
    template <class F>
    void change (F&& set)
    {
        transfer (false);
        set (parameters);
        transfer (true);
    }

    std::uint32_t firmware = 0;
    std::uint8_t parameters[protocol::block_size] = {};
};
} // namespace qv
