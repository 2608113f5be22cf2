#pragma once

// The plugged-in interface: a listening socket in the bus folder and the one
// client it serves, until a signal or the model unplugs it.

#include "device/posix/bus.h"
#include "veltrano_options.h"

#include <cstdint>
#include <memory>
#include <string>

class session;

class host
{
public:
    // Plugs the interface in: binds a hidden name, listens, then renames it into
    // place so that a watcher never sees a socket nobody listens on. Throws
    // std::runtime_error with a readable reason.
    explicit host (const vv_options& settings);
    ~host();
    host (const host&) = delete;
    host& operator= (const host&) = delete;

    // Serves until SIGINT, SIGTERM or a vanish; then unplugs.
    void run();

    const std::string& path() const { return socket_path; }

private:
    void plug_in();
    void accept_client();
    void serve_client();
    void drop_client();
    void report_changes (std::uint32_t mask, const std::uint8_t* before);
    void save_state();
    bool pause (std::uint32_t ms); // false when a signal asked to stop

    vv_model model;
    std::string name, state_file;
    qv::bus::folder folder;
    std::string socket_path;
    int listener = -1;
    int client = -1;
    std::unique_ptr<session> conversation;
};

// Installs the SIGINT/SIGTERM handlers that make run() return.
void install_unplug_signals();
