// The driver's notification window on Windows: its UUID-named class, its life, and
// crafted WM_DEVICECHANGE messages sent to it as the system would send them. Plain
// files stand in for interfaces: they open and register like one.
#include "tests/support/paths_of.h"
#include "win32_test_support.h"

#include <gtest/gtest.h>

#include <cctype>

using namespace win32_test;

namespace
{
class file_device : public qv::device<os_result>
{
public:
    using qv::device<os_result>::device;
};

class recording_driver : public qv::driver<os_result, file_device>
{
public:
    void on_arrival (file_device& d) override { events.push_back ("arrival " + d); }

    void on_removal (file_device& d) override { events.push_back ("removal " + d); }

    std::vector<std::string> events;
};

bool is_uuid_text (const std::string& text)
{
    if (text.size() != 36)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool hyphen_place = i == 8 || i == 13 || i == 18 || i == 23;
        if (hyphen_place ? text[i] != '-' : ! std::isxdigit (static_cast<unsigned char> (text[i])))
            return false;
    }
    return true;
}

std::string class_of (HWND hwnd)
{
    char name[256] {};
    GetClassNameA (hwnd, name, sizeof name);
    return name;
}

LRESULT default_answer (HWND hwnd, WPARAM event, const void* broadcast)
{
    return DefWindowProcA (hwnd, WM_DEVICECHANGE, event, reinterpret_cast<LPARAM> (broadcast));
}

class qv_win32_window : public ::testing::Test
{
protected:
    scratch_folder folder;
};

// A driver whose notification window receives the crafted messages.
class attached_window : public qv_win32_window
{
protected:
    void SetUp() override { ASSERT_NE (hwnd, nullptr) << "no message-only window points to the driver"; }

    recording_driver driver;
    const HWND hwnd = notification_window_of (driver);
};
} // namespace

TEST_F (qv_win32_window, each_window_class_is_named_by_a_fresh_uuid)
{
    qv::port<os_result>::window first;
    qv::port<os_result>::window second;

    const std::string name = first.class_name();
    EXPECT_TRUE (is_uuid_text (name)) << name;
    EXPECT_TRUE (is_uuid_text (second.class_name())) << second.class_name();
    EXPECT_NE (name, second.class_name());
    EXPECT_EQ (class_of (first.native()), name);
    EXPECT_EQ (FindWindowExA (HWND_MESSAGE, nullptr, name.c_str(), nullptr), first.native()) << "not message-only";
}

TEST_F (attached_window, an_arrival_opens_lists_and_announces_once_whatever_the_case)
{
    const auto path = folder.file ("Interface-A");
    const auto expected_reply = default_answer (hwnd, DBT_DEVICEARRIVAL, interface_broadcast (path).data());

    EXPECT_EQ (send_arrival (hwnd, path), expected_reply);
    EXPECT_EQ (send_arrival (hwnd, recased (path, std::toupper)), expected_reply);
    EXPECT_EQ (send_arrival (hwnd, lower (path)), expected_reply);

    EXPECT_EQ (paths_of (driver), std::vector<std::string> { lower (path) });
    EXPECT_EQ (driver.events, std::vector<std::string> { "arrival " + lower (path) });
    EXPECT_EQ (open_exclusively (path), INVALID_HANDLE_VALUE) << "the listed device holds it exclusively";
}

TEST_F (attached_window, an_arrival_that_cannot_be_opened_leaves_the_list_as_it_was)
{
    const auto listed = folder.file ("listed");
    send_arrival (hwnd, listed);
    driver.events.clear();

    const auto held_path = folder.file ("held");
    const HANDLE held = open_exclusively (held_path);
    ASSERT_NE (held, INVALID_HANDLE_VALUE);

    // The failure is dropped, and with it the default answer.
    EXPECT_EQ (send_arrival (hwnd, held_path), 0);
    EXPECT_EQ (send_arrival (hwnd, folder.file ("missing\\interface")), 0);

    EXPECT_EQ (paths_of (driver), std::vector<std::string> { lower (listed) });
    EXPECT_TRUE (driver.events.empty());
    CloseHandle (held);
}

TEST_F (attached_window, removal_is_recognised_by_the_handle_alone)
{
    const auto path_a = lower (folder.file ("a"));
    const auto path_b = lower (folder.file ("b"));
    send_arrival (hwnd, path_a);
    send_arrival (hwnd, path_b);
    driver.events.clear();
    qv::reference<file_device> held = driver.front();

    // An unknown handle and the interface-type broadcast of a listed path change nothing.
    const HANDLE unknown = open_exclusively (folder.file ("unknown"));
    send_handle_removal (hwnd, unknown);
    CloseHandle (unknown);
    const auto by_interface = interface_broadcast (path_a);
    send_change (hwnd, DBT_DEVICEREMOVECOMPLETE, by_interface.data());
    send_change (hwnd, DBT_DEVICEQUERYREMOVE, by_interface.data());
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { path_a, path_b }));
    EXPECT_TRUE (driver.events.empty());

    const auto b = handle_broadcast (held->handle);
    const auto expected_reply = default_answer (hwnd, DBT_DEVICEREMOVECOMPLETE, &b);
    EXPECT_EQ (send_handle_removal (hwnd, held->handle), expected_reply);
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { path_b });
    EXPECT_EQ (driver.events, std::vector<std::string> { "removal " + path_a });
    EXPECT_TRUE (held->removed);

    // The later message of the pair finds nothing.
    send_handle_removal (hwnd, held->handle, DBT_DEVICEQUERYREMOVE);
    EXPECT_EQ (driver.events.size(), 1u);

    send_handle_removal (hwnd, driver.front()->handle, DBT_DEVICEQUERYREMOVE);
    EXPECT_TRUE (driver.empty()) << "a query-remove drops the device too";
}

TEST_F (attached_window, other_broadcasts_are_ignored)
{
    const auto path = lower (folder.file ("a"));
    send_arrival (hwnd, path);
    driver.events.clear();

    DEV_BROADCAST_HDR volume { sizeof (DEV_BROADCAST_HDR), DBT_DEVTYP_VOLUME, 0 };
    send_change (hwnd, DBT_DEVICEREMOVECOMPLETE, &volume);
    send_change (hwnd, DBT_DEVNODES_CHANGED, nullptr);
    send_change (hwnd, DBT_DEVICEARRIVAL, nullptr);
    const auto b = handle_broadcast (driver.front()->handle);
    send_change (hwnd, DBT_DEVICEREMOVEPENDING, &b);

    EXPECT_EQ (paths_of (driver), std::vector<std::string> { path });
    EXPECT_TRUE (driver.events.empty());
}

TEST_F (qv_win32_window, with_no_driver_attached_a_change_only_gets_the_default_answer)
{
    qv::port<os_result>::window unattached;
    const auto path = folder.file ("never-opened");
    const auto bytes = interface_broadcast (path);

    EXPECT_EQ (send_change (unattached.native(), DBT_DEVICEARRIVAL, bytes.data()),
               default_answer (unattached.native(), DBT_DEVICEARRIVAL, bytes.data()));
    EXPECT_FALSE (exists (path)) << "the arrival was acted on";

    // Attached, the same broadcast opens (and so makes) the file; detached again, not.
    recording_driver driver;
    const HWND hwnd = notification_window_of (driver);
    ASSERT_NE (hwnd, nullptr);
    const LONG_PTR attached = GetWindowLongPtrA (hwnd, GWLP_USERDATA);
    SetWindowLongPtrA (hwnd, GWLP_USERDATA, 0);
    send_change (hwnd, DBT_DEVICEARRIVAL, bytes.data());
    EXPECT_FALSE (exists (path));
    SetWindowLongPtrA (hwnd, GWLP_USERDATA, attached);
    send_change (hwnd, DBT_DEVICEARRIVAL, bytes.data());
    EXPECT_TRUE (exists (path));
    EXPECT_EQ (driver.size(), 1u);
}
