#pragma once

// The Linux port, with two kinds of interface in one list. Real ones on USB: a path
// under /dev/bus/usb is the device node, the handle its descriptor, requests go
// through libusb (device/usb) and arrival and removal come from udev. Virtual ones:
// Unix-domain sockets in the bus folder served by veltrano-virtual; the handle is the
// connected socket, its removal the hang-up on it, and arrivals are inotify events on
// the folder. Everything is read on the JUCE message thread; codes are errno values.

#include "bus.h"
#include "device/usb/usb_monitor.h"
#include "device/qv/port.h"
#include "device/qv/result.h"

#include <cstdint>
#include <functional>
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
    void enumerate (const std::function<void (std::string)>& each);

    const std::string& folder() const noexcept { return checked.path(); }

    // Connects `socket_fd` to the interface at `path` through the checked folder of
    // the window that lists it; like connect(2), 0 or -1 with errno set.
    static int connect (int socket_fd, const std::string& path);

    // Shared with the hang-up callbacks of the devices, which may outlive the window.
    struct link
    {
        hotplug<handle_type> events;
    };

private:
    friend struct port<os_result>;

    void read_folder_events();
    void read_usb_events();
    void follow_replaced_folder();
    void enumerate_bus (const std::function<void (std::string)>& each);
    void announce_present(); // every bus interface listed now arrives (those listed already stay)

    bus::folder checked;
    usb::monitor usb_devices;
    int inotify = -1;
    int folder_watch = -1;
    int parent_watch = -1; // the folder deleted and made again is followed from here
    std::shared_ptr<link> driver_link;
};
} // namespace qv
