#pragma once

// Helpers for the tests of the Windows port: the driver's notification window, crafted
// device-change broadcasts, and a scratch folder whose plain files stand in for
// interfaces (a file opens, registers and closes like one, but answers no request).

#include "device/device.h"
#include "tests/support/thrown_code.h"

#include <dbt.h>

#include <cctype>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace win32_test
{
// Device paths are compared ignoring case; the driver lists them lower-cased.
inline std::string recased (std::string text, int (*change) (int) = std::tolower)
{
    for (auto& c : text)
        c = static_cast<char> (change (static_cast<unsigned char> (c)));
    return text;
}

// The message-only window whose user data points into `owner` (a driver, or an object
// that derives from one): the window that the driver's port registered.
template <class T>
HWND notification_window_of (const T& owner)
{
    for (HWND hwnd = nullptr; (hwnd = FindWindowExA (HWND_MESSAGE, hwnd, nullptr, nullptr)) != nullptr;)
        if (static_cast<std::uintptr_t> (GetWindowLongPtrA (hwnd, GWLP_USERDATA)) - reinterpret_cast<std::uintptr_t> (&owner)
            < sizeof owner)
            return hwnd;
    return nullptr;
}

// The broadcasts that the system sends to the window, built byte for byte.
inline std::vector<char> interface_broadcast (const std::string& name)
{
    std::vector<char> bytes (offsetof (DEV_BROADCAST_DEVICEINTERFACE_A, dbcc_name) + name.size() + 1, 0);
    auto* b = reinterpret_cast<DEV_BROADCAST_DEVICEINTERFACE_A*> (bytes.data());
    b->dbcc_size = static_cast<DWORD> (bytes.size());
    b->dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
    b->dbcc_classguid = qv::port<os_result>::interface_guid;
    std::memcpy (b->dbcc_name, name.c_str(), name.size() + 1);
    return bytes;
}

inline LRESULT send_change (HWND hwnd, WPARAM event, const void* broadcast)
{
    return SendMessageA (hwnd, WM_DEVICECHANGE, event, reinterpret_cast<LPARAM> (broadcast));
}

inline LRESULT send_arrival (HWND hwnd, const std::string& path)
{
    return send_change (hwnd, DBT_DEVICEARRIVAL, interface_broadcast (path).data());
}

inline LRESULT send_handle_removal (HWND hwnd, HANDLE handle, WPARAM event = DBT_DEVICEREMOVECOMPLETE)
{
    DEV_BROADCAST_HANDLE b {};
    b.dbch_size = sizeof b;
    b.dbch_devicetype = DBT_DEVTYP_HANDLE;
    b.dbch_handle = handle;
    return send_change (hwnd, event, &b);
}

// A fresh folder under the temporary folder, removed with its files at the end.
class scratch_folder
{
public:
    scratch_folder()
    {
        static unsigned made = 0;
        path = (std::filesystem::temp_directory_path()
                / ("qv-win32-" + std::to_string (GetCurrentProcessId()) + "-" + std::to_string (made++)))
                   .string();
        std::filesystem::remove_all (path); // left by a killed run
        std::filesystem::create_directory (path);
    }

    ~scratch_folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all (path, ignored);
    }

    scratch_folder (const scratch_folder&) = delete;
    scratch_folder& operator= (const scratch_folder&) = delete;

    std::string file (const std::string& name) const { return path + "\\" + name; }

    std::string path;
};

// Opens `path` as the port does (exclusively); INVALID_HANDLE_VALUE if refused.
inline HANDLE open_exclusively (const std::string& path)
{
    return CreateFileA (path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
}
} // namespace win32_test
