// The Windows port's failure rules, reached through its table of system calls: each
// failure throws the system's code (the status itself for the RPC calls), and whatever
// was acquired before it is given back. Stand-ins count what is held and let the real
// calls do the work; each row makes one of them fail. The interface listing is a
// stand-in too, since no interface of the driver's class is present here.
#include "win32_test_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

using namespace win32_test;
using qv::calls;

namespace
{
const qv::system_calls system; // the real calls
std::map<const char*, int> held; // acquired and not yet released, by kind
constexpr char class_name[] = "class name", window_class[] = "window class", window[] = "window",
               registration[] = "registration", interface_set[] = "interface set", file[] = "file";

// Lets the real call do the work and keeps `held` up to date. An acquisition counts unless
// it gave nothing (null, all bits set, 0, or a non-zero status); releasing null releases
// nothing, and a release may change the last error, as the system's do.
template <auto call, const char* kind, bool acquires, class R, class First, class... Rest>
R counting (First first, Rest... rest)
{
    if (! acquires)
        held[kind] -= first != First {};
    const R result = (system.*call) (first, rest...);
    if (! acquires)
        SetLastError (0);
    else if constexpr (std::is_pointer_v<R>)
        held[kind] += result != nullptr && result != INVALID_HANDLE_VALUE;
    else
        held[kind] += std::is_same_v<R, RPC_STATUS> ? result == RPC_S_OK : result != 0;
    return result;
}

void count_what_is_held()
{
    using c = qv::system_calls;
    calls.UuidToStringA = counting<&c::UuidToStringA, class_name, true>;
    calls.RpcStringFreeA = counting<&c::RpcStringFreeA, class_name, false>;
    calls.RegisterClassExA = counting<&c::RegisterClassExA, window_class, true>;
    calls.UnregisterClassA = counting<&c::UnregisterClassA, window_class, false>;
    calls.CreateWindowExA = counting<&c::CreateWindowExA, window, true>;
    calls.DestroyWindow = counting<&c::DestroyWindow, window, false>;
    calls.RegisterDeviceNotificationA = counting<&c::RegisterDeviceNotificationA, registration, true>;
    calls.UnregisterDeviceNotification = counting<&c::UnregisterDeviceNotification, registration, false>;
    calls.SetupDiGetClassDevsA = counting<&c::SetupDiGetClassDevsA, interface_set, true>;
    calls.SetupDiDestroyDeviceInfoList = counting<&c::SetupDiDestroyDeviceInfoList, interface_set, false>;
    calls.CreateFileA = counting<&c::CreateFileA, file, true>;
    calls.CloseHandle = counting<&c::CloseHandle, file, false>;
}

// Fails as the system does: the status itself for the RPC calls, else `error` as the last
// error and the call's own failure value (all bits set for a handle other than a window).
template <DWORD error, class R, class... A>
R failing (A...)
{
    SetLastError (error);
    if constexpr (std::is_same_v<R, RPC_STATUS>)
        return error;
    else if constexpr (std::is_pointer_v<R> && ! std::is_same_v<R, HWND>)
        return static_cast<R> (INVALID_HANDLE_VALUE);
    else
        return R {};
}

// The interfaces that the stand-in listing reports, by index: a path, or the error of its
// detail query.
struct listed
{
    std::string path;
    DWORD detail_error = 0;
};
std::vector<listed> listing;

void list (std::vector<listed> interfaces)
{
    listing = std::move (interfaces);
    calls.SetupDiEnumDeviceInterfaces = [] (HDEVINFO, PSP_DEVINFO_DATA, const GUID*, DWORD index,
                                            PSP_DEVICE_INTERFACE_DATA data) -> BOOL {
        data->Reserved = index;
        SetLastError (ERROR_NO_MORE_ITEMS);
        return index < listing.size();
    };
    // As the system's: the path and its NUL must fit in the buffer after cbSize.
    calls.SetupDiGetDeviceInterfaceDetailA = [] (HDEVINFO, PSP_DEVICE_INTERFACE_DATA data,
                                                 PSP_DEVICE_INTERFACE_DETAIL_DATA_A detail, DWORD size, PDWORD,
                                                 PSP_DEVINFO_DATA) -> BOOL {
        const auto& entry = listing.at (data->Reserved);
        if (offsetof (SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) + entry.path.size() + 1 > size)
            SetLastError (ERROR_INSUFFICIENT_BUFFER);
        else if (entry.detail_error != 0)
            SetLastError (entry.detail_error);
        else
            return std::memcpy (detail->DevicePath, entry.path.c_str(), entry.path.size() + 1) != nullptr;
        return FALSE;
    };
}
} // namespace

TEST (qv_win32_system_failure, each_failure_throws_its_code_and_gives_back_what_was_held)
{
    scratch_folder folder;
    const auto missing = folder.file ("missing\\interface");
    // A path in the folder, `length` characters long.
    const auto of_length = [&] (std::size_t length) { return folder.file (std::string (length - folder.path.size() - 1, 'x')); };
    const struct
    {
        const char* what;
        std::function<void()> arrange;
        std::uint32_t thrown; // 0: the driver is built
    } rows[] = {
        { "UuidCreate's status, also the one for an identifier unique on this computer only",
          [] { calls.UuidCreate = failing<RPC_S_UUID_LOCAL_ONLY>; }, RPC_S_UUID_LOCAL_ONLY },
        { "UuidToStringA's status", [] { calls.UuidToStringA = failing<RPC_S_OUT_OF_MEMORY>; }, RPC_S_OUT_OF_MEMORY },
        { "RegisterClassExA: atom 0", [] { calls.RegisterClassExA = failing<ERROR_CLASS_ALREADY_EXISTS>; },
          ERROR_CLASS_ALREADY_EXISTS },
        { "CreateWindowExA: no window", [] { calls.CreateWindowExA = failing<ERROR_NOT_ENOUGH_MEMORY>; },
          ERROR_NOT_ENOUGH_MEMORY },
        { "RegisterDeviceNotificationA: all bits set",
          [] { calls.RegisterDeviceNotificationA = failing<ERROR_INVALID_DATA>; }, ERROR_INVALID_DATA },
        { "RegisterDeviceNotificationA: null is success",
          [] {
              calls.RegisterDeviceNotificationA = [] (HANDLE, LPVOID, DWORD) -> HDEVNOTIFY {
                  SetLastError (ERROR_INVALID_DATA);
                  return nullptr;
              };
          },
          0 },
        { "SetupDiGetClassDevsA: the invalid handle", [] { calls.SetupDiGetClassDevsA = failing<ERROR_ACCESS_DENIED>; },
          ERROR_ACCESS_DENIED },
        { "the detail query", [] { list ({ { "unused", ERROR_INVALID_USER_BUFFER } }); }, ERROR_INVALID_USER_BUFFER },
        { "a path of 260 characters does not fit the detail buffer", [&] { list ({ { of_length (260) } }); },
          ERROR_INSUFFICIENT_BUFFER },
        { "a path of 259 characters fits and is opened (a plain file answers no request)",
          [&] { list ({ { of_length (259) } }); }, ERROR_NOT_SUPPORTED },
        { "an empty path ends the listing", [&] { list ({ { "" }, { missing } }); }, 0 },
        { "each interface is opened before the next is looked up",
          [&] { list ({ { missing }, { "unused", ERROR_INVALID_USER_BUFFER } }); }, ERROR_PATH_NOT_FOUND },
    };

    for (const auto& row : rows)
    {
        SCOPED_TRACE (row.what);
        calls = {};
        held.clear();
        count_what_is_held();
        row.arrange();
        EXPECT_EQ (thrown_code ([] { EXPECT_TRUE ((qv::driver<os_result, device> {}).empty()); }), row.thrown);
        for (const auto& [kind, count] : held)
            EXPECT_EQ (count, 0) << kind;
    }
    calls = {};
}
