#pragma once

// An interface reached over USB: its device node under /dev/bus/usb, opened and locked
// by this process, and the vendor control requests sent to it through libusb. Nothing
// is claimed and no kernel driver is detached: the audio goes on while the panel works.
// The handle is the node's descriptor. Failures throw errno values as qv::os_result.

#include <cstdint>
#include <string>

namespace qv::usb
{
// Every control transfer ends within this time (ETIMEDOUT).
constexpr unsigned transfer_timeout_ms = 1000;

bool is_device_node (const std::string& path);

// Opens the node for this process alone: a node another program holds locked gives
// EBUSY, a device that is no interface (its descriptor says so) ENODEV.
int open (const std::string& node);
bool is_open (int handle);
const std::string& node_of (int handle); // of an open handle
void close (int handle);

// The kernel driver's two requests, answered over USB: the driver version is the
// version of libusb, which carries the requests here; a vendor request is sent with
// exactly the setup packet and data of `in`, and `out` gets the same buffer back,
// with the interface's data for a read. A reply shorter than asked gives EPROTO.
void control (int handle, std::uint32_t code, const void* in, std::uint32_t in_size, void* out,
              std::uint32_t out_size);
} // namespace qv::usb
