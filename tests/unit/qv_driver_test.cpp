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
using folded_driver = recorded_driver<folded_result>;

std::vector<std::string> events_only (const std::vector<std::string>& log)
{
    std::vector<std::string> events;
    for (auto& line : log)
        if (line.rfind ("on_", 0) == 0 || line.rfind ("destroyed", 0) == 0)
            events.push_back (line);
    return events;
}
} // namespace

TEST_F (qv_driver, present_interfaces_are_listed_silently_in_order)
{
    plug ("/bus/b");
    plug ("/bus/a");
    exact_driver driver;

    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "/bus/b", "/bus/a" }));
    const auto log = sys.take_log();
    // The deriving class is not built yet, so only the devices hear of it.
    EXPECT_EQ (events_only (log), (std::vector<std::string> { "on_attach /bus/b", "on_attach /bus/a" }));
    EXPECT_EQ (std::vector<std::string> (log.begin(), log.begin() + 3),
               (std::vector<std::string> { "window", "list /bus/b", "open /bus/b" }));
}

TEST_F (qv_driver, no_interface_gives_an_empty_list)
{
    exact_driver driver;
    EXPECT_TRUE (driver.empty());
}

TEST_F (qv_driver, an_arrival_is_announced_once_and_appended)
{
    plug ("/bus/a");
    plug ("/bus/b");
    exact_driver driver;
    plug ("/bus/c", false);
    sys.take_log();

    EXPECT_TRUE (sys.arrive ("/bus/c"));
    EXPECT_TRUE (sys.arrive ("/bus/c"));
    EXPECT_TRUE (sys.arrive ("/bus/a"));

    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "/bus/a", "/bus/b", "/bus/c" }));
    EXPECT_EQ (events_only (sys.take_log()), (std::vector<std::string> { "on_arrival /bus/c", "on_attach /bus/c" }));
}

TEST_F (qv_driver, identities_differing_in_case_are_one_on_a_folding_port)
{
    plug ("\\\\?\\usb#vid_1234");
    folded_driver driver;
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "\\\\?\\usb#vid_1234" }));
    plug ("\\\\?\\usb#vid_5678", false);
    sys.take_log();

    sys.arrive ("\\\\?\\USB#VID_1234");
    EXPECT_EQ (driver.size(), 1u);
    EXPECT_TRUE (sys.take_log().empty()) << "nothing is opened for a listed identity";

    sys.arrive ("\\\\?\\USB#Vid_5678");
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "\\\\?\\usb#vid_1234", "\\\\?\\usb#vid_5678" }));
}

TEST_F (qv_driver, identities_differing_in_case_are_two_on_an_exact_port)
{
    plug ("/bus/Veltrano");
    plug ("/bus/veltrano", false);
    exact_driver driver;

    sys.arrive ("/bus/veltrano");
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "/bus/Veltrano", "/bus/veltrano" }));
}

TEST_F (qv_driver, removal_detaches_announces_then_erases)
{
    plug ("/bus/a");
    plug ("/bus/b");
    exact_driver driver;
    const int handle_a = driver[0]->handle;
    sys.take_log();

    sys.hang_up (handle_a);
    EXPECT_EQ (events_only (sys.take_log()),
               (std::vector<std::string> { "on_detach /bus/a", "on_removal /bus/a", "destroyed /bus/a" }));
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "/bus/b" }));

    sys.hang_up (handle_a);
    sys.hang_up (12345);
    EXPECT_TRUE (sys.take_log().empty());
    EXPECT_EQ (driver.size(), 1u);
}

TEST_F (qv_driver, a_device_held_elsewhere_outlives_its_removal)
{
    plug ("/bus/a");
    exact_driver driver;
    qv::reference<recorded_device<exact_result>> held = driver.front();
    sys.hang_up (held->handle);

    EXPECT_TRUE (driver.empty());
    EXPECT_TRUE (held->removed);
    EXPECT_EQ (sys.open_handles.size(), 1u);
    held = nullptr;
    EXPECT_TRUE (sys.open_handles.empty());
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
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { "/bus/a" }));
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
    EXPECT_EQ (sys.take_log(), (std::vector<std::string> { "window", "list /bus/a", "open /bus/a", "watch 100",
                                                           "control 100", "control 100", "control 100",
                                                           "on_attach /bus/a", "list /bus/b", "open /bus/b", "~window",
                                                           "destroyed /bus/a", "unwatch 1100", "close 100" }));
    EXPECT_TRUE (sys.open_handles.empty());
}

TEST_F (qv_driver, destruction_releases_the_window_then_the_devices_from_the_back)
{
    plug ("/bus/a");
    plug ("/bus/b");
    plug ("/bus/c");
    {
        exact_driver driver;
        sys.take_log();
    }
    EXPECT_EQ (sys.take_log(),
               (std::vector<std::string> { "~window", "destroyed /bus/c", "unwatch 1102", "close 102", "destroyed /bus/b",
                                           "unwatch 1101", "close 101", "destroyed /bus/a", "unwatch 1100", "close 100" }));
    EXPECT_FALSE (sys.arrive ("/bus/d")) << "no event reaches a destroyed driver";
}
