// The driver's notification window: a message-only window registered for the
// arrivals of the interface class, and the SetupDi listing of the interfaces present.
#include "native_port.h"

#include <dbt.h>

#include <cstddef>
#include <cstring>

namespace qv
{
namespace
{
static_assert (sizeof (DEV_BROADCAST_DEVICEINTERFACE_A) == 32);
static_assert (offsetof (DEV_BROADCAST_DEVICEINTERFACE_A, dbcc_name) == 28);
static_assert (sizeof (SP_DEVICE_INTERFACE_DATA) == 32);
static_assert (sizeof (SP_DEVICE_INTERFACE_DETAIL_DATA_A) == 8);

// One fixed buffer for the detail query: a longer path fails the query itself.
constexpr DWORD detail_size = 264;

[[noreturn]] void fail_with_last_error() { throw os_result (GetLastError()); }
} // namespace

port<os_result>::window::window()
{
    hwnd = calls.CreateWindowExA (0, registered_class.name(), nullptr, 0, CW_USEDEFAULT, CW_USEDEFAULT,
                                  CW_USEDEFAULT, CW_USEDEFAULT, HWND_MESSAGE, nullptr, registered_class.instance(),
                                  nullptr);
    if (hwnd == nullptr)
        fail_with_last_error();

    DEV_BROADCAST_DEVICEINTERFACE_A filter {};
    filter.dbcc_size = sizeof filter;
    filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
    filter.dbcc_classguid = interface_guid;
    notification = calls.RegisterDeviceNotificationA (hwnd, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
    // Only all ones counts as failure; a null registration leaves the window without
    // arrival notices, and the panel works on with what it listed at start.
    if (notification == no_notification)
    {
        const auto error = GetLastError();
        calls.DestroyWindow (hwnd);
        throw os_result (error);
    }

    devinfo = calls.SetupDiGetClassDevsA (&interface_guid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (devinfo == INVALID_HANDLE_VALUE)
    {
        const auto error = GetLastError();
        calls.UnregisterDeviceNotification (notification);
        calls.DestroyWindow (hwnd);
        throw os_result (error);
    }
}

// The class registration (a member) goes last: unregistered, then its name freed.
port<os_result>::window::~window()
{
    calls.SetupDiDestroyDeviceInfoList (devinfo);
    calls.UnregisterDeviceNotification (notification);
    calls.DestroyWindow (hwnd);
}

// The user data holds this window's full address, not its low 32 bits: the driver
// may live anywhere in a 64-bit address space. 0 means nobody is attached.
void port<os_result>::window::attach (const hotplug<handle_type>& attached)
{
    events = attached;
    SetWindowLongPtrA (hwnd, GWLP_USERDATA, events.attached() ? reinterpret_cast<LONG_PTR> (this) : 0);
}

void port<os_result>::window::enumerate (const std::function<void (std::string)>& each)
{
    for (DWORD index = 0;; ++index)
    {
        SP_DEVICE_INTERFACE_DATA data {};
        data.cbSize = sizeof data;
        if (! calls.SetupDiEnumDeviceInterfaces (devinfo, nullptr, &interface_guid, index, &data))
            return; // whatever the reason: no more items, or nothing to list

        alignas (SP_DEVICE_INTERFACE_DETAIL_DATA_A) char buffer[detail_size] {};
        auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*> (buffer);
        detail->cbSize = sizeof (SP_DEVICE_INTERFACE_DETAIL_DATA_A);
        if (! calls.SetupDiGetDeviceInterfaceDetailA (devinfo, &data, detail, detail_size, nullptr, nullptr))
            fail_with_last_error();

        const std::size_t room = detail_size - offsetof (SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath);
        std::string path (detail->DevicePath, strnlen (detail->DevicePath, room));
        if (path.empty())
            return;
        each (std::move (path));
    }
}

LRESULT CALLBACK port<os_result>::window::procedure (HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam)
{
    if (message == WM_DEVICECHANGE)
    {
        auto* self = reinterpret_cast<window*> (GetWindowLongPtrA (hwnd, GWLP_USERDATA));
        // A change that could not be handled is dropped, and so is the default answer.
        if (self != nullptr && ! self->handle_device_change (wparam, lparam))
            return 0;
    }
    return DefWindowProcA (hwnd, message, wparam, lparam);
}

// False when the handling threw; the exception is dropped here.
bool port<os_result>::window::handle_device_change (WPARAM event, LPARAM broadcast) try
{
    const auto* header = reinterpret_cast<const DEV_BROADCAST_HDR*> (broadcast);
    if (header == nullptr)
        return true;

    switch (event)
    {
        case DBT_DEVICEARRIVAL:
        {
            // Taken as an interface broadcast whatever its type says.
            const auto* arrived = reinterpret_cast<const DEV_BROADCAST_DEVICEINTERFACE_A*> (header);
            return events.arrival (events.driver, std::string (arrived->dbcc_name));
        }
        case DBT_DEVICEQUERYREMOVE:
        case DBT_DEVICEREMOVECOMPLETE:
            if (header->dbch_devicetype == DBT_DEVTYP_HANDLE)
                return events.removal (events.driver, reinterpret_cast<const DEV_BROADCAST_HANDLE*> (header)->dbch_handle);
            // The name's address is never a listed handle: removal is recognised by the
            // per-handle registrations alone.
            if (header->dbch_devicetype == DBT_DEVTYP_DEVICEINTERFACE)
                return events.removal (events.driver, const_cast<char*> (reinterpret_cast<const DEV_BROADCAST_DEVICEINTERFACE_A*> (header)->dbcc_name));
            return true;
        default:
            return true;
    }
}
catch (...)
{
    return false;
}
} // namespace qv
