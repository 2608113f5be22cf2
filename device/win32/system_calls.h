#pragma once

// Every system call through which the Windows port acquires, uses or releases
// something, as a table of function pointers: the system's own by default. Tests put
// failing or counting stand-ins in it to reach failure rules that no real system
// shows on demand.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <rpc.h>
#include <setupapi.h>

namespace qv
{
struct system_calls
{
    decltype (&::CreateFileA) CreateFileA = ::CreateFileA;
    decltype (&::CloseHandle) CloseHandle = ::CloseHandle;
    decltype (&::DeviceIoControl) DeviceIoControl = ::DeviceIoControl;
    decltype (&::RegisterDeviceNotificationA) RegisterDeviceNotificationA = ::RegisterDeviceNotificationA;
    decltype (&::UnregisterDeviceNotification) UnregisterDeviceNotification = ::UnregisterDeviceNotification;
    decltype (&::UuidCreate) UuidCreate = ::UuidCreate;
    decltype (&::UuidToStringA) UuidToStringA = ::UuidToStringA;
    decltype (&::RpcStringFreeA) RpcStringFreeA = ::RpcStringFreeA;
    decltype (&::RegisterClassExA) RegisterClassExA = ::RegisterClassExA;
    decltype (&::UnregisterClassA) UnregisterClassA = ::UnregisterClassA;
    decltype (&::CreateWindowExA) CreateWindowExA = ::CreateWindowExA;
    decltype (&::DestroyWindow) DestroyWindow = ::DestroyWindow;
    decltype (&::SetupDiGetClassDevsA) SetupDiGetClassDevsA = ::SetupDiGetClassDevsA;
    decltype (&::SetupDiEnumDeviceInterfaces) SetupDiEnumDeviceInterfaces = ::SetupDiEnumDeviceInterfaces;
    decltype (&::SetupDiGetDeviceInterfaceDetailA) SetupDiGetDeviceInterfaceDetailA = ::SetupDiGetDeviceInterfaceDetailA;
    decltype (&::SetupDiDestroyDeviceInfoList) SetupDiDestroyDeviceInfoList = ::SetupDiDestroyDeviceInfoList;
};

inline system_calls calls;
} // namespace qv
