// One open interface: an exclusive handle on its path, a registration that tells the
// notification window when that very handle goes, and synchronous control requests.
#include "native_port.h"

#include <dbt.h>

namespace qv
{
namespace
{
static_assert (sizeof (DEV_BROADCAST_HANDLE) == 56);
}

port<os_result>::handle_type port<os_result>::open (const std::string& path)
{
    // Share mode 0: a second opener of the same interface is refused.
    const HANDLE handle = calls.CreateFileA (path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        throw os_result (GetLastError());
    return handle;
}

port<os_result>::notification_type port<os_result>::watch (handle_type handle, window& w)
{
    DEV_BROADCAST_HANDLE filter {};
    filter.dbch_size = sizeof filter;
    filter.dbch_devicetype = DBT_DEVTYP_HANDLE;
    filter.dbch_handle = handle;
    filter.dbch_eventguid = interface_guid;
    const HDEVNOTIFY notification = calls.RegisterDeviceNotificationA (w.native(), &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
    // As for the class registration, a null result is taken as success.
    if (notification == no_notification)
        throw os_result (GetLastError());
    return notification;
}

void port<os_result>::unwatch (notification_type notification) { calls.UnregisterDeviceNotification (notification); }

void port<os_result>::close (handle_type handle) { calls.CloseHandle (handle); }

void port<os_result>::control (handle_type handle, std::uint32_t code, const void* in, std::uint32_t in_size, void* out,
                               std::uint32_t out_size)
{
    // Synchronous: the count must be given without an overlapped structure, but the
    // answer's size is the driver's business.
    DWORD returned = 0;
    if (! calls.DeviceIoControl (handle, code, const_cast<void*> (in), in_size, out, out_size, &returned, nullptr))
        throw os_result (GetLastError());
}
} // namespace qv
