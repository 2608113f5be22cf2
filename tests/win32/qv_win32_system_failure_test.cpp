// The Windows port's failure rules, reached through its table of system calls: each
// failure throws the system's code (the status itself for the RPC calls), and whatever
// was acquired before it is given back. Stand-ins count what is held and let the real
// calls do the work; one row at a time makes one of them fail. The interface listing is
// a stand-in too, since no interface of the driver's class is present here.
#include "win32_test_support.h"

#include <gtest/gtest.h>

#include <map>

using namespace win32_test;
using qv::calls;

namespace
{
const qv::system_calls system; // the real calls
std::map<std::string, int> held; // what is acquired and not yet released, by kind
constexpr char class_name[] = "class name", window_class[] = "class", window[] = "window",
               registration[] = "registration", interface_set[] = "interface set", file[] = "file";

// What the system gives for nothing: null, all bits set, 0 or FALSE, or a non-zero status.
template <class R>
bool nothing (R result)
{
    if constexpr (std::is_pointer_v<R>)
        return result == nullptr || result == INVALID_HANDLE_VALUE;
    else if constexpr (std::is_same_v<R, RPC_STATUS>)
        return result != RPC_S_OK;
    else
        return result == 0;
}

// Stand-ins that let the real call do the work and keep `held` up to date. Releasing
// nothing (null) releases nothing; a release may change the last error, as the system's do.
template <auto call, const char* kind, class R, class... A>
R acquiring (A... arguments)
{
    const R result = (system.*call) (arguments...);
    held[kind] += ! nothing (result);
    return result;
}

template <auto call, const char* kind, class R, class First, class... Rest>
R releasing (First first, Rest... rest)
{
    held[kind] -= first != First {};
    const R result = (system.*call) (first, rest...);
    SetLastError (0);
    return result;
}

void count_what_is_held()
{
    using c = qv::system_calls;
    calls.UuidToStringA = acquiring<&c::UuidToStringA, class_name>;
    calls.RpcStringFreeA = releasing<&c::RpcStringFreeA, class_name>;
    calls.RegisterClassExA = acquiring<&c::RegisterClassExA, window_class>;
    calls.UnregisterClassA = releasing<&c::UnregisterClassA, window_class>;
    calls.CreateWindowExA = acquiring<&c::CreateWindowExA, window>;
    calls.DestroyWindow = releasing<&c::DestroyWindow, window>;
    calls.RegisterDeviceNotificationA = acquiring<&c::RegisterDeviceNotificationA, registration>;
    calls.UnregisterDeviceNotification = releasing<&c::UnregisterDeviceNotification, registration>;
    calls.SetupDiGetClassDevsA = acquiring<&c::SetupDiGetClassDevsA, interface_set>;
    calls.SetupDiDestroyDeviceInfoList = releasing<&c::SetupDiDestroyDeviceInfoList, interface_set>;
    calls.CreateFileA = acquiring<&c::CreateFileA, file>;
    calls.CloseHandle = releasing<&c::CloseHandle, file>;
}

// A stand-in that fails as the system does: `error` as the last error and the call's
// own failure value (all bits set for a handle).
template <DWORD error, class R, class... A>
R failing (A...)
{
    SetLastError (error);
    if constexpr (std::is_pointer_v<R> && ! std::is_same_v<R, HWND>)
        return static_cast<R> (INVALID_HANDLE_VALUE);
    else
        return R {};
}

template <RPC_STATUS status, class... A>
RPC_STATUS returning (A...)
{
    return status;
}

// The interfaces that the stand-in listing reports, by index: a path, or the error of
// its detail query.
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
        if (index >= listing.size())
        {
            SetLastError (ERROR_NO_MORE_ITEMS);
            return FALSE;
        }
        data->Reserved = index;
        return TRUE;
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

struct failure_case
{
    const char* what;
    void (*arrange) (const scratch_folder&);
    std::uint32_t thrown; // 0: the driver is built
};

// A path that names a file in the folder and is `length` characters long.
std::string path_of_length (const scratch_folder& folder, std::size_t length)
{
    const auto base = folder.file ("");
    return base + std::string (length - base.size(), 'x');
}

const failure_case failure_cases[] = {
    { "UuidCreate's status, also the one for an identifier unique on this computer only",
      [] (const scratch_folder&) { calls.UuidCreate = returning<RPC_S_UUID_LOCAL_ONLY>; }, RPC_S_UUID_LOCAL_ONLY },
    { "UuidToStringA's status",
      [] (const scratch_folder&) { calls.UuidToStringA = returning<RPC_S_OUT_OF_MEMORY>; }, RPC_S_OUT_OF_MEMORY },
    { "RegisterClassExA: atom 0",
      [] (const scratch_folder&) { calls.RegisterClassExA = failing<ERROR_CLASS_ALREADY_EXISTS>; },
      ERROR_CLASS_ALREADY_EXISTS },
    { "CreateWindowExA: no window",
      [] (const scratch_folder&) { calls.CreateWindowExA = failing<ERROR_NOT_ENOUGH_MEMORY>; }, ERROR_NOT_ENOUGH_MEMORY },
    { "RegisterDeviceNotificationA: all bits set",
      [] (const scratch_folder&) { calls.RegisterDeviceNotificationA = failing<ERROR_INVALID_DATA>; }, ERROR_INVALID_DATA },
    { "RegisterDeviceNotificationA: null is success",
      [] (const scratch_folder&) {
          calls.RegisterDeviceNotificationA = [] (HANDLE, LPVOID, DWORD) -> HDEVNOTIFY {
              SetLastError (ERROR_INVALID_DATA);
              return nullptr;
          };
      },
      0 },
    { "SetupDiGetClassDevsA: the invalid handle",
      [] (const scratch_folder&) { calls.SetupDiGetClassDevsA = failing<ERROR_ACCESS_DENIED>; }, ERROR_ACCESS_DENIED },
    { "the detail query",
      [] (const scratch_folder&) { list ({ { "unused", ERROR_INVALID_USER_BUFFER } }); }, ERROR_INVALID_USER_BUFFER },
    { "a path of 260 characters does not fit the detail buffer",
      [] (const scratch_folder& folder) { list ({ { path_of_length (folder, 260) } }); }, ERROR_INSUFFICIENT_BUFFER },
    { "a path of 259 characters fits and is opened (a plain file answers no request)",
      [] (const scratch_folder& folder) { list ({ { path_of_length (folder, 259) } }); }, ERROR_NOT_SUPPORTED },
    { "an empty path ends the listing",
      [] (const scratch_folder& folder) { list ({ { "" }, { folder.file ("missing\\interface") } }); }, 0 },
    { "each interface is opened before the next is looked up",
      [] (const scratch_folder& folder) {
          list ({ { folder.file ("missing\\interface") }, { "unused", ERROR_INVALID_USER_BUFFER } });
      },
      ERROR_PATH_NOT_FOUND },
};

} // namespace

TEST (qv_win32_system_failure, each_failure_throws_its_code_and_gives_back_what_was_held)
{
    scratch_folder folder;
    for (const auto& row : failure_cases)
    {
        SCOPED_TRACE (row.what);
        calls = {};
        held.clear();
        count_what_is_held();
        row.arrange (folder);

        EXPECT_EQ (thrown_code ([] {
                       qv::driver<os_result, device> driver;
                       EXPECT_TRUE (driver.empty());
                   }),
                   row.thrown);
        for (const auto& [kind, count] : held)
            EXPECT_EQ (count, 0) << kind;
    }
    calls = {};
}
