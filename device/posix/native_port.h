#pragma once

// The Linux port: interfaces are virtual ones, Unix-domain sockets in the bus folder
// served by veltrano-virtual. A handle is the connected socket, its removal is the
// hang-up on it, and arrivals are inotify events on the folder, all read on the JUCE
// message thread. Codes are errno values.

#include "device/qv/port.h"
#include "device/qv/result.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qv
{
template <>
struct port<os_result>
{
    using handle_type = int;
    static constexpr handle_type invalid_handle = -1;
    using notification_type = int; // the watched descriptor
    static constexpr notification_type no_notification = -1;
    static constexpr bool case_insensitive = false; // paths are compared exactly

    // A request without a reply within this time fails with ETIMEDOUT.
    static constexpr int reply_timeout_ms = 2000;

    class window;

    static handle_type open (const std::string& path);
    static notification_type watch (handle_type handle, window& w);
    static void unwatch (notification_type notification);
    static void close (handle_type handle);
    static void control (handle_type handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                         void* out, std::uint32_t out_size);
};

class port<os_result>::window
{
public:
    window();
    ~window();
    window (const window&) = delete;
    window& operator= (const window&) = delete;

    void attach (const hotplug<handle_type>& events);
    std::vector<std::string> enumerate();

    const std::string& folder() const noexcept { return bus; }

    // Shared with the hang-up callbacks of the devices, which may outlive the window.
    struct link
    {
        hotplug<handle_type> events;
    };

private:
    friend struct port<os_result>;

    void read_folder_events();

    std::string bus;
    int inotify = -1;
    std::shared_ptr<link> driver_link;
};
} // namespace qv
