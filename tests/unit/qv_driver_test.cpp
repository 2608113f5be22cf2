// The device list logic over the recording port: listing, arrival, removal and
// the order in which the driver asks the system for things.
#include "recording_port.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
class qv_driver : public ::testing::Test
{
protected:
    void SetUp() override { sys.reset(); }

    void plug (const std::string& path, bool present = true)
    {
        sys.interfaces[path];
        if (present)
            sys.present.push_back (path);
    }

    pretend_system& sys = pretend_system::get();
};

using exact_driver = recorded_driver<exact_result>;
using strings = std::vector<std::string>;

strings events_only (const strings& log)
{
    strings events;
    for (auto& line : log)
        if (line.rfind ("on_", 0) == 0 || line.rfind ("destroyed", 0) == 0)
            events.push_back (line);
    return events;
}

TEST_F (qv_driver, present_interfaces_are_listed_silently_an_arrival_is_appended_once_and_all_go_from_the_back)
{
    plug ("/bus/b");
    plug ("/bus/a");
    auto owned = std::make_unique<exact_driver>();
    auto& driver = *owned;
    auto log = sys.take_log();
    // The deriving class is not built yet, so only the devices hear of it.
    EXPECT_EQ (events_only (log), (strings { "on_attach /bus/b", "on_attach /bus/a" }));
    EXPECT_EQ (strings (log.begin(), log.begin() + 3), (strings { "window", "list /bus/b", "open /bus/b" }));

    plug ("/bus/c", false);
    EXPECT_TRUE (sys.arrive ("/bus/c"));
    EXPECT_TRUE (sys.arrive ("/bus/c"));
    EXPECT_TRUE (sys.arrive ("/bus/a"));
    EXPECT_EQ (paths_of (driver), (strings { "/bus/b", "/bus/a", "/bus/c" }));
    EXPECT_EQ (events_only (sys.take_log()), (strings { "on_arrival /bus/c", "on_attach /bus/c" }));

    // The window and its registrations go first, then the devices, and no request is sent.
    owned.reset();
    EXPECT_EQ (sys.take_log(), (strings { "~window", "destroyed /bus/c", "unwatch 1102", "close 102", "destroyed /bus/a",
                                          "unwatch 1101", "close 101", "destroyed /bus/b", "unwatch 1100", "close 100" }));
    EXPECT_FALSE (sys.arrive ("/bus/d")) << "no event reaches a destroyed driver";
}

TEST_F (qv_driver, identities_differing_in_case_are_one_on_a_folding_port)
{
    plug ("\\\\?\\usb#vid_1234");
    recorded_driver<folded_result> driver;
    plug ("\\\\?\\usb#vid_5678", false);
    sys.take_log();

    sys.arrive ("\\\\?\\USB#VID_1234");
    EXPECT_TRUE (sys.take_log().empty()) << "nothing is opened for a listed identity";
    sys.arrive ("\\\\?\\USB#Vid_5678");
    EXPECT_EQ (paths_of (driver), (strings { "\\\\?\\usb#vid_1234", "\\\\?\\usb#vid_5678" }));
}

TEST_F (qv_driver, removal_detaches_announces_then_erases_and_a_device_held_elsewhere_outlives_it)
{
    plug ("/bus/a");
    plug ("/bus/b");
    exact_driver driver;
    qv::reference<recorded_device<exact_result>> held = driver.back();
    const int handle_b = held->handle;
    sys.take_log();

    sys.hang_up (handle_b);
    EXPECT_EQ (events_only (sys.take_log()), (strings { "on_detach /bus/b", "on_removal /bus/b" }));
    EXPECT_EQ (paths_of (driver), (strings { "/bus/a" }));
    EXPECT_TRUE (held->removed);
    held = nullptr;
    EXPECT_EQ (sys.take_log(), (strings { "destroyed /bus/b", "unwatch 1101", "close 101" }));

    sys.hang_up (handle_b);
    sys.hang_up (12345);
    EXPECT_TRUE (sys.take_log().empty());
    EXPECT_EQ (driver.size(), 1u);
}

TEST_F (qv_driver, a_failing_arrival_leaves_the_list_unchanged)
{
    plug ("/bus/a");
    exact_driver driver;
    plug ("/bus/busy", false);
    sys.interfaces["/bus/busy"].open_failure = 16;
    plug ("/bus/mute", false);
    sys.interfaces["/bus/mute"].model.faults.fail_after = 1;
    sys.take_log();

    EXPECT_FALSE (sys.arrive ("/bus/busy"));
    EXPECT_FALSE (sys.arrive ("/bus/mute"));
    EXPECT_EQ (paths_of (driver), (strings { "/bus/a" }));
    EXPECT_TRUE (events_only (sys.take_log()).empty());
    EXPECT_EQ (sys.open_handles.size(), 1u);
}

TEST_F (qv_driver, one_present_interface_failing_aborts_construction_and_closes_the_others)
{
    plug ("/bus/a");
    plug ("/bus/b");
    plug ("/bus/c");
    sys.interfaces["/bus/b"].open_failure = 5;
    sys.interfaces["/bus/c"].open_failure = 6;

    // Each interface is opened before the next is listed; the listing stops at the failure.
    EXPECT_EQ (thrown_code<exact_result> ([] { exact_driver driver; }), 5);
    EXPECT_EQ (sys.take_log(), (strings { "window", "list /bus/a", "open /bus/a", "watch 100", "control 100", "control 100",
                                          "control 100", "on_attach /bus/a", "list /bus/b", "open /bus/b", "~window",
                                          "destroyed /bus/a", "unwatch 1100", "close 100" }));
    EXPECT_TRUE (sys.open_handles.empty());
}
} // namespace
