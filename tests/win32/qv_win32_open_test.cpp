// The handle layer of the Windows port against a plain file: CreateFileA's exclusive open.
#include "win32_test_support.h"

#include <gtest/gtest.h>

using namespace win32_test;
using port = qv::port<os_result>;

namespace
{
constexpr std::uint32_t sharing_violation = 32;
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
