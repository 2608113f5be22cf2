#pragma once

// libusb's failures as the system codes the rest of the Linux port throws (errno values).

#include <cerrno>
#include <cstdint>

namespace qv::usb
{
// EACCES on an interface's USB device node: the text shown for it says how to get
// access. Above 0xFFFF, so that its low half is the plain system code.
constexpr std::uint32_t access_denied = 0x10000u | EACCES;

// The errno value for a libusb error code (LIBUSB_ERROR_*).
int errno_of (int libusb_error);
} // namespace qv::usb
