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
#include <string>
#include <vector>

namespace win32_test
{
// Device paths are compared ignoring case; the driver lists them lower-cased.
inline std::string recased (std::string text, int (*change) (int))
{
    for (auto& c : text)
        c = static_cast<char> (change (static_cast<unsigned char> (c)));
    return text;
}

inline std::string lower (const std::string& text) { return recased (text, std::tolower); }

// The message-only window whose user data points into `owner` (a driver, or an object
// that derives from one): the window that the driver's port registered.
inline HWND notification_window_of (const void* owner, std::size_t size)
{
    const auto begin = reinterpret_cast<std::uintptr_t> (owner);
    for (HWND hwnd = nullptr; (hwnd = FindWindowExA (HWND_MESSAGE, hwnd, nullptr, nullptr)) != nullptr;)
    {
        const auto data = static_cast<std::uintptr_t> (GetWindowLongPtrA (hwnd, GWLP_USERDATA));
        if (data >= begin && data < begin + size)
            return hwnd;
    }
    return nullptr;
}

template <class T>
HWND notification_window_of (const T& owner)
{
    return notification_window_of (&owner, sizeof owner);
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

inline DEV_BROADCAST_HANDLE handle_broadcast (HANDLE handle)
{
    DEV_BROADCAST_HANDLE b {};
    b.dbch_size = sizeof b;
    b.dbch_devicetype = DBT_DEVTYP_HANDLE;
    b.dbch_handle = handle;
    return b;
}

inline LRESULT send_change (HWND hwnd, WPARAM event, const void* broadcast)
{
    return SendMessageA (hwnd, WM_DEVICECHANGE, event, reinterpret_cast<LPARAM> (broadcast));
}

inline LRESULT send_arrival (HWND hwnd, const std::string& path)
{
    const auto bytes = interface_broadcast (path);
    return send_change (hwnd, DBT_DEVICEARRIVAL, bytes.data());
}

inline LRESULT send_handle_removal (HWND hwnd, HANDLE handle, WPARAM event = DBT_DEVICEREMOVECOMPLETE)
{
    const auto b = handle_broadcast (handle);
    return send_change (hwnd, event, &b);
}

// A fresh folder under the temporary folder, removed with its files at the end.
class scratch_folder
{
public:
    scratch_folder()
    {
        char temp[MAX_PATH] {};
        GetTempPathA (MAX_PATH, temp);
        for (unsigned n = GetTickCount();; ++n)
        {
            path = std::string (temp) + "qv-win32-" + std::to_string (GetCurrentProcessId()) + "-" + std::to_string (n);
            if (CreateDirectoryA (path.c_str(), nullptr))
                break;
        }
    }

    ~scratch_folder()
    {
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA ((path + "\\*").c_str(), &found);
        if (search != INVALID_HANDLE_VALUE)
        {
            do
                DeleteFileA ((path + "\\" + found.cFileName).c_str());
            while (FindNextFileA (search, &found));
            FindClose (search);
        }
        RemoveDirectoryA (path.c_str());
    }

    scratch_folder (const scratch_folder&) = delete;
    scratch_folder& operator= (const scratch_folder&) = delete;

    std::string file (const std::string& name) const { return path + "\\" + name; }

    std::string path;
};

inline bool exists (const std::string& path) { return GetFileAttributesA (path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Opens `path` as the port does (exclusively); INVALID_HANDLE_VALUE if refused.
inline HANDLE open_exclusively (const std::string& path)
{
    return CreateFileA (path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
}
} // namespace win32_test
