// The handle layer of the Windows port against plain files: CreateFileA's exclusive
// open and DeviceIoControl report the system's own codes as os_result, and a device
// whose opening fails part-way gives its handle back.
#include "win32_test_support.h"

#include <gtest/gtest.h>

using namespace win32_test;
using port = qv::port<os_result>;

namespace
{
constexpr std::uint32_t path_not_found = 3;
constexpr std::uint32_t sharing_violation = 32;
constexpr std::uint32_t not_supported = 50;
} // namespace

TEST (qv_win32_open, an_open_is_exclusive_until_closed)
{
    scratch_folder folder;
    const auto path = folder.file ("interface");

    const HANDLE handle = port::open (path);
    ASSERT_NE (handle, INVALID_HANDLE_VALUE);
    EXPECT_TRUE (exists (path)) << "OPEN_ALWAYS makes what is missing";
    EXPECT_EQ (open_exclusively (path), INVALID_HANDLE_VALUE);
    EXPECT_EQ (GetLastError(), sharing_violation);
    EXPECT_EQ (thrown_code ([&] { port::open (path); }), sharing_violation);

    port::close (handle);
    const HANDLE again = open_exclusively (path);
    EXPECT_NE (again, INVALID_HANDLE_VALUE);
    CloseHandle (again);
}

TEST (qv_win32_open, failures_are_thrown_as_the_system_codes)
{
    scratch_folder folder;
    const auto held_path = folder.file ("held");
    const HANDLE held = open_exclusively (held_path);
    ASSERT_NE (held, INVALID_HANDLE_VALUE);

    EXPECT_EQ (thrown_code ([&] { port::open (held_path); }), sharing_violation);
    EXPECT_EQ (thrown_code ([&] { port::open (folder.file ("missing\\interface")); }), path_not_found);

    std::uint8_t version[4] {};
    EXPECT_EQ (thrown_code ([&] { port::control (held, qv::protocol::driver_version, nullptr, 0, version, 4); }),
               not_supported);
    CloseHandle (held);
}

TEST (qv_win32_open, a_device_that_answers_no_request_is_not_listed_and_lets_go)
{
    scratch_folder folder;
    const auto path = folder.file ("plain");
    qv::driver<os_result, device> driver;

    EXPECT_EQ (thrown_code ([&] { driver.add (path); }), not_supported);
    EXPECT_TRUE (driver.empty());

    const HANDLE after = open_exclusively (path);
    EXPECT_NE (after, INVALID_HANDLE_VALUE) << "the failed device kept its handle";
    CloseHandle (after);
}
