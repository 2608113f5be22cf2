// Which transport serves a path or a handle: a USB device node goes to libusb, every
// other path is a socket on the virtual bus. Descriptors are unique in the process,
// so a handle belongs to the transport that opened it.
#include "bus_connection.h"
#include "native_port.h"
#include "usb_removal.h"

#include "device/usb/usb_connection.h"

namespace qv
{
port<os_result>::handle_type port<os_result>::open (const std::string& path)
{
    return usb::is_device_node (path) ? usb::open (path) : bus_connection::open (path);
}

port<os_result>::notification_type port<os_result>::watch (handle_type handle, window& w)
{
    return usb::is_open (handle) ? usb_removal::watch (handle, w.driver_link)
                                 : bus_connection::watch (handle, w.driver_link);
}

void port<os_result>::unwatch (notification_type notification)
{
    // The notification is its handle's descriptor: only one of them has it.
    usb_removal::unwatch (notification);
    bus_connection::unwatch (notification);
}

void port<os_result>::close (handle_type handle)
{
    if (handle == invalid_handle)
        return;
    if (usb::is_open (handle))
        usb::close (handle);
    else
        bus_connection::close (handle);
}

void port<os_result>::control (handle_type handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                               void* out, std::uint32_t out_size)
{
    if (usb::is_open (handle))
        usb::control (handle, code, in, in_size, out, out_size);
    else
        bus_connection::control (handle, code, in, in_size, out, out_size);
}
} // namespace qv
