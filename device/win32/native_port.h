#pragma once

// The Windows port: the kernel driver's interfaces through SetupDi, CreateFileA and
// DeviceIoControl, hot-plug through a hidden message-only window. Codes are Win32
// error codes. (Declarations; the definitions live beside this file.)

#include "device/qv/port.h"
#include "device/qv/result.h"

#ifndef NOMINMAX
#define NOMINMAX // JUCE and the standard library need min and max as names
#endif
#include <windows.h>

#include <setupapi.h>

#include "system_calls.h"
#include "window_class.h"

#include <cstdint>
#include <functional>
#include <string>

namespace qv
{
template <>
struct port<os_result>
{
    using handle_type = HANDLE;
    static inline const handle_type invalid_handle = INVALID_HANDLE_VALUE;
    using notification_type = HDEVNOTIFY;
    static inline const notification_type no_notification = reinterpret_cast<HDEVNOTIFY> (~std::uintptr_t (0));
    static constexpr bool case_insensitive = true; // paths are lower-cased with tolower

    // The kernel driver registers its interfaces under this class.
    static constexpr GUID interface_guid { 0x77DCBABF, 0x9B6B, 0x44DE, { 0xA9, 0xF1, 0x24, 0xA7, 0x8C, 0xB5, 0xC1, 0x11 } };

    class window;

    static handle_type open (const std::string& path);
    static notification_type watch (handle_type handle, window& w);
    static void unwatch (notification_type notification);
    static void close (handle_type handle);
    static void control (handle_type handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                         void* out, std::uint32_t out_size);
};

// The message-only window that receives the device changes: the class registration
// for the interface class, the device-information set that lists the interfaces
// present, and, once attached, the driver that the window procedure reports to.
class port<os_result>::window
{
public:
    window();
    ~window();
    window (const window&) = delete;
    window& operator= (const window&) = delete;

    void attach (const hotplug<handle_type>& events);
    void enumerate (const std::function<void (std::string)>& each);

    // What the per-handle registrations are addressed to; tests send it crafted messages.
    HWND native() const noexcept { return hwnd; }
    const char* class_name() const noexcept { return registered_class.name(); }

private:
    static LRESULT CALLBACK procedure (HWND, UINT message, WPARAM, LPARAM);
    bool handle_device_change (WPARAM event, LPARAM broadcast);

    HDEVNOTIFY notification = no_notification;
    window_class registered_class { &procedure };
    HWND hwnd = nullptr;
    HDEVINFO devinfo = INVALID_HANDLE_VALUE;
    hotplug<handle_type> events;
};
} // namespace qv
