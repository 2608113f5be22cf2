#pragma once

// The Windows port: the kernel driver's interfaces through SetupDi, CreateFileA and
// DeviceIoControl, hot-plug through a hidden message-only window. Codes are Win32
// error codes. (Declarations; the definitions live beside this file.)

#include "device/qv/port.h"
#include "device/qv/result.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

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
    std::vector<std::string> enumerate();
};
} // namespace qv
