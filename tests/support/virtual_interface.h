#pragma once

// Real veltrano-virtual processes for tests on Linux, each test on a bus folder of
// its own (KELTO_VIRTUAL_BUS points at it while the test runs).

#include "tests/support/message_loop.h"

#if ! defined(_WIN32)

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class temporary_bus
{
public:
    temporary_bus();  // a fresh 0700 folder, made the bus for this process
    ~temporary_bus(); // removes it and restores the previous bus setting
    temporary_bus (const temporary_bus&) = delete;
    temporary_bus& operator= (const temporary_bus&) = delete;

    const std::string& folder() const { return path; }
    std::string interface_path (const std::string& name) const { return path + "/" + name; }

private:
    std::string path;
    std::optional<std::string> previous;
};

class virtual_interface
{
public:
    // Starts veltrano-virtual --name NAME plus `options` and, unless told not to, waits
    // until it is plugged in. Throws std::runtime_error when it does not come up. The host
    // is unplugged when the thread that started it ends, so that a test program that
    // crashes or is killed leaves none behind: start it on a thread that outlives it.
    virtual_interface (const temporary_bus& bus, const std::string& name, std::vector<std::string> options = {},
                       bool wait_until_plugged = true)
        : virtual_interface (bus.folder(), name, std::move (options), wait_until_plugged)
    {
    }
    virtual_interface (const std::string& folder, const std::string& name, std::vector<std::string> options = {},
                       bool wait_until_plugged = true);
    ~virtual_interface(); // unplugs it if it still runs
    virtual_interface (const virtual_interface&) = delete;
    virtual_interface& operator= (const virtual_interface&) = delete;

    // Sends `signal` and returns the exit status (-1 when it had to be killed).
    int unplug (int signal = 15 /* SIGTERM */);
    // Waits for an exit the interface makes by itself; -1 when it still runs after `ms`.
    int wait_for_exit (int ms);
    bool running();

    const std::string& path() const { return socket_path; }
    pid_t process() const { return pid; } // -1 once it has exited
    std::vector<int> block() const; // from the state file
    std::string output() const;     // what it printed so far

    // A test program started with `hold_option FOLDER` plugs in FOLDER/held, prints the
    // host's process id and waits to be killed: what a test that dies leaves behind.
    static constexpr const char* hold_option = "--hold-virtual-interface";
    [[noreturn]] static void hold_until_killed (const std::string& folder);

private:
    std::string socket_path, state_path, output_path, work_folder;
    pid_t pid = -1;
    int status = -1;
};

// The options that start an interface with `block` as its parameter block.
std::vector<std::string> block_option (const std::vector<int>& block);

#endif
