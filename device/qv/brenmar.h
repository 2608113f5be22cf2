#pragma once

#include "device/qv/device.h"
#include "device/qv/protocol.h"

#include <cstdint>

namespace qv
{
// What every device of this kernel-driver family offers: the driver's version and
// the passthrough of USB vendor control requests.
template <class R>
class brenmar : public device<R>
{
public:
    using port_type = port<R>;

    brenmar (const std::string& path, typename port_type::window& window) : device<R> (path, window)
    {
        std::uint8_t bytes[protocol::driver_version_size] = {};
        port_type::control (this->handle, protocol::driver_version, nullptr, 0, bytes, sizeof bytes);
        version = protocol::decode_driver_version (bytes);
    }

    // Sends a setup packet and its data; the interface's answer comes back in place.
    void vendor_request (std::uint8_t* buffer, std::uint32_t size)
    {
        port_type::control (this->handle, protocol::vendor_request, buffer, size, buffer, size);
    }

    std::uint32_t version = 0;
};
} // namespace qv
