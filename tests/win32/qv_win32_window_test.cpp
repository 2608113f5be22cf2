// The driver's notification window on Windows, sent crafted WM_DEVICECHANGE messages as
// the system would send them. Plain files stand in for interfaces; none exists before its
// arrival, so an arrival that is listed was opened with OPEN_ALWAYS.
#include "tests/support/paths_of.h"
#include "win32_test_support.h"

#include <gtest/gtest.h>

using namespace win32_test;

namespace
{
struct attached_window : ::testing::Test
{
    void SetUp() override { ASSERT_NE (hwnd, nullptr) << "no message-only window points to the driver"; }

    scratch_folder folder;
    qv::driver<os_result, qv::device<os_result>> driver;
    const HWND hwnd = notification_window_of (driver);
};

TEST_F (attached_window, an_arrival_is_listed_once_whatever_the_case_and_held_exclusively)
{
    const auto path = folder.file ("Interface-A");
    send_arrival (hwnd, recased (path, std::toupper));
    send_arrival (hwnd, path);
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { recased (path) });
    EXPECT_EQ (open_exclusively (path), INVALID_HANDLE_VALUE);
    EXPECT_EQ (GetLastError(), static_cast<DWORD> (ERROR_SHARING_VIOLATION));
    // One that fails (its folder is missing) is dropped, and with it the default answer.
    EXPECT_EQ (send_arrival (hwnd, folder.file ("missing\\interface")), 0);

    // A second window, of a class named apart, acts on nothing while no driver is attached.
    qv::port<os_result>::window unattached;
    send_arrival (unattached.native(), folder.file ("never-opened"));
    EXPECT_FALSE (std::filesystem::exists (folder.file ("never-opened")));
}

TEST_F (attached_window, only_a_removal_of_a_listed_handle_drops_its_device)
{
    const auto a = recased (folder.file ("a")), b = recased (folder.file ("b"));
    send_arrival (hwnd, a);
    send_arrival (hwnd, b);

    const HANDLE unknown = open_exclusively (folder.file ("unknown"));
    const auto by_interface = interface_broadcast (a); // its name's address is no handle
    const DEV_BROADCAST_HDR volume { sizeof volume, DBT_DEVTYP_VOLUME, 0 };
    send_handle_removal (hwnd, unknown);
    send_handle_removal (hwnd, driver.front()->handle, DBT_DEVICEREMOVEPENDING);
    send_change (hwnd, DBT_DEVICEREMOVECOMPLETE, by_interface.data());
    send_change (hwnd, DBT_DEVICEQUERYREMOVE, by_interface.data());
    send_change (hwnd, DBT_DEVICEREMOVECOMPLETE, &volume);
    send_change (hwnd, DBT_DEVICEREMOVECOMPLETE, nullptr);
    send_change (hwnd, DBT_DEVNODES_CHANGED, nullptr);
    CloseHandle (unknown);
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { a, b }));

    send_handle_removal (hwnd, driver.front()->handle);
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { b });
    send_handle_removal (hwnd, driver.front()->handle, DBT_DEVICEQUERYREMOVE);
    EXPECT_TRUE (driver.empty());
}
} // namespace
