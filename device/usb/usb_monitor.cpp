#include "usb_monitor.h"

#include "device/qv/result.h"

#include <libudev.h>

#include <algorithm>
#include <cerrno>

namespace qv::usb
{
namespace
{
bool read_id (udev_device* device, const char* attribute, std::uint16_t& value)
{
    const char* text = udev_device_get_sysattr_value (device, attribute);
    return text != nullptr && parse_id (text, value);
}

// The node of `device` when it is an interface, else empty.
std::string interface_node (udev_device* device, const std::vector<id>& ids)
{
    id pair;
    const char* node = udev_device_get_devnode (device);
    if (node == nullptr || ! read_id (device, "idVendor", pair.vendor) || ! read_id (device, "idProduct", pair.product)
        || ! is_interface (ids, pair))
        return {};
    return node;
}

[[noreturn]] void fail_with_errno() { throw os_result (static_cast<std::uint32_t> (errno != 0 ? errno : ENOMEM)); }
} // namespace

monitor::monitor()
{
    context = udev_new();
    if (context == nullptr)
        fail_with_errno();
    // After udev's rules ran: the node has its owner and access rights by then.
    events = udev_monitor_new_from_netlink (context, "udev");
    if (events == nullptr || udev_monitor_filter_add_match_subsystem_devtype (events, "usb", "usb_device") < 0
        || udev_monitor_enable_receiving (events) < 0)
    {
        const int error = errno;
        udev_monitor_unref (events); // takes null
        udev_unref (context);
        errno = error;
        fail_with_errno();
    }
}

monitor::~monitor()
{
    udev_monitor_unref (events);
    udev_unref (context);
}

int monitor::descriptor() const { return udev_monitor_get_fd (events); }

std::vector<std::string> monitor::present() const
{
    std::vector<std::string> nodes;
    udev_enumerate* listing = udev_enumerate_new (context);
    if (listing == nullptr)
        fail_with_errno();
    udev_enumerate_add_match_subsystem (listing, "usb");
    udev_enumerate_add_match_property (listing, "DEVTYPE", "usb_device");
    udev_enumerate_scan_devices (listing);
    const auto ids = interface_ids();
    for (auto* entry = udev_enumerate_get_list_entry (listing); entry != nullptr; entry = udev_list_entry_get_next (entry))
    {
        if (udev_device* device = udev_device_new_from_syspath (context, udev_list_entry_get_name (entry)))
        {
            auto node = interface_node (device, ids);
            if (! node.empty())
                nodes.push_back (std::move (node));
            udev_device_unref (device);
        }
    }
    udev_enumerate_unref (listing);
    std::sort (nodes.begin(), nodes.end());
    return nodes;
}

void monitor::read (const std::function<void (const std::string&)>& added,
                    const std::function<void (const std::string&)>& removed)
{
    while (udev_device* device = udev_monitor_receive_device (events))
    {
        const char* given = udev_device_get_action (device);
        const std::string action = given != nullptr ? given : "";
        const char* node = udev_device_get_devnode (device);
        // Only "add" is an arrival: "bind" and "change" follow for a device that is there.
        const std::string arrived = action == "add" ? interface_node (device, interface_ids()) : "";
        const std::string left = action == "remove" && node != nullptr ? node : "";
        udev_device_unref (device);
        // The callbacks may run the message loop, which may read this monitor again.
        if (! arrived.empty())
            added (arrived);
        if (! left.empty())
            removed (left);
    }
}
} // namespace qv::usb
