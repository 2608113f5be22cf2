#pragma once

#include "device/qv/object.h"
#include "device/qv/port.h"
#include "device/qv/result.h"

#include <string>

namespace qv
{
// One open interface: its path (the std::string base, its identity in the driver's
// list), the exclusive handle and the registration that reports the handle gone.
template <class R>
class device : public object, public std::string, public exception<R>
{
public:
    using port_type = port<R>;
    using handle_type = typename port_type::handle_type;
    using notification_type = typename port_type::notification_type;
    using window_type = typename port_type::window;

    device (const std::string& path, window_type& window) : std::string (path)
    {
        handle = port_type::open (*this);
        try
        {
            notification = port_type::watch (handle, window);
        }
        catch (...)
        {
            port_type::close (handle);
            throw;
        }
    }

    device (const device&) = delete;
    device& operator= (const device&) = delete;

    ~device() override
    {
        port_type::unwatch (notification);
        port_type::close (handle);
    }

    virtual void on_attach() {}
    virtual void on_detach() { removed = true; }

    handle_type handle = port_type::invalid_handle;
    notification_type notification = port_type::no_notification;
    bool removed = false;
};
} // namespace qv
