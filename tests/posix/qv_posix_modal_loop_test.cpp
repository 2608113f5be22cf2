// A modal loop that runs inside one of JUCE's descriptor callbacks (a gain menu opened
// by a click) while an interface hangs up in the same pass of the run loop: the removal
// is handled inside the modal loop, and when the outer pass goes on it must not call
// anything freed meanwhile (the sanitizer build reports it if it does).
#include "device/device.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include <csignal>
#include <unistd.h>

namespace
{
struct removal_counting_driver : qv::driver<os_result, device>
{
    void on_removal (device&) override { ++removals; }
    int removals = 0;
};
} // namespace

TEST (qv_posix_port, a_hang_up_handled_inside_a_modal_loop_leaves_the_outer_pass_sound)
{
    // Made before the interface's connection, so JUCE calls it first in a pass.
    int click[2];
    ASSERT_EQ (::pipe (click), 0);

    temporary_bus bus;
    virtual_interface plugged (bus, "a");
    removal_counting_driver driver;
    ASSERT_EQ (driver.size(), 1u);

    bool modal_loop_ran = false;
    juce::LinuxEventLoop::registerFdCallback (click[0], [&] (int fd)
    {
        juce::LinuxEventLoop::unregisterFdCallback (fd);
        modal_loop_ran = true;
        pump_until ([&] { return driver.removals > 0; }, 3000);
        pump_for (20);
    });

    // Both become ready before the next pass: the host is gone and the "click" waits.
    plugged.unplug (SIGKILL);
    ASSERT_EQ (::write (click[1], "x", 1), 1);
    pump_until ([&] { return modal_loop_ran && driver.removals > 0; }, 3000);
    pump_for (20);

    EXPECT_TRUE (modal_loop_ran);
    EXPECT_EQ (driver.removals, 1);
    EXPECT_TRUE (driver.empty());
    ::close (click[0]);
    ::close (click[1]);
}
