#pragma once

#if ! defined(_WIN32)

#include "virtual_interface.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

// A socket bound at `path`, listening unless told not to (what a killed host leaves).
int bound_socket (const std::string& path, bool listening = true);

// A host played by the test on a thread of its own: it listens at NAME in the bus
// folder and answers from the shared device model, each reply passed through `script`
// (which may hold it back or spoil it). Request numbers count from 0; opening takes
// three. It ends when a client that asked something leaves: make it before the driver.
class scripted_host
{
public:
    using script_type = std::function<std::vector<std::uint8_t> (int request, std::vector<std::uint8_t> reply)>;

    scripted_host (const temporary_bus& bus, const std::string& name, script_type script);
    ~scripted_host();

    // Waits until a client that sent requests has hung up; false when none has after `ms`.
    bool client_left (int ms) const;

private:
    void serve();

    script_type script;
    int listener = -1;
    std::atomic<bool> left { false };
    std::thread thread;
};

#endif
