// The Linux port against real veltrano-virtual processes: discovery, hot-plug,
// faults on the connection and a bus folder that cannot be trusted.
#include "device/device.h"
#include "device/posix/bus.h"
#include "tests/support/descriptors.h"
#include "tests/support/paths_of.h"
#include "tests/support/scripted_host.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <set>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{
using clock = std::chrono::steady_clock;

class watching_driver : public qv::driver<os_result, device>
{
public:
    void on_arrival (device& d) override { arrivals.push_back (d); }
    void on_removal (device& d) override
    {
        if (failures-- > 0)
            throw std::runtime_error ("the page could not be taken down");
        removals.push_back (d);
    }

    std::vector<std::string> arrivals, removals;
    int failures = 0;
};

double seconds_since (clock::time_point start) { return std::chrono::duration<double> (clock::now() - start).count(); }
} // namespace

TEST (qv_posix_port, present_interfaces_are_listed_silently_in_name_order_and_later_ones_appended)
{
    temporary_bus bus;
    // What a killed host leaves behind: a socket nobody listens on. A hidden name is a
    // host still plugging in.
    ::close (bound_socket (bus.interface_path ("dead"), false));
    const int hidden = bound_socket (bus.interface_path (".plugging"));
    virtual_interface b (bus, "b"), a (bus, "a"), upper (bus, "B"); // identities are exact

    watching_driver driver;
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { upper.path(), a.path(), b.path() }));
    ::close (hidden);

    virtual_interface revived (bus, "dead");
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 4; }, 3000));
    EXPECT_EQ (driver.back()->parameters[1], 40) << "power-on block was read";
    EXPECT_EQ (driver.arrivals, std::vector<std::string> { revived.path() });
    EXPECT_TRUE (driver.removals.empty());
    EXPECT_EQ (thrown_code ([] { watching_driver second; }), EBUSY) << "one client per interface";
}

TEST (qv_posix_port, an_interface_replugged_under_its_name_is_removed_then_added_even_after_a_failed_removal)
{
    for (const int failures : { 0, 1 })
    {
        temporary_bus bus;
        auto first = std::make_unique<virtual_interface> (bus, "a");
        watching_driver driver;
        driver.failures = failures;

        first->unplug();
        // Without a failure, the hang-up and the new socket wait for the same pass.
        ASSERT_TRUE (pump_until ([&] { return driver.failures <= 0; }, 3000));
        virtual_interface second (bus, "a", { "--firmware", "1.3.0" });
        ASSERT_TRUE (pump_until ([&] { return driver.arrivals.size() == 1 && driver.removals.size() == 1; }, 3000))
            << failures << " failures: " << driver.arrivals.size() << " arrivals, " << driver.removals.size() << " removals";
        EXPECT_EQ (driver.removals, driver.arrivals);
        ASSERT_EQ (driver.size(), 1u);
        EXPECT_EQ (driver.front()->firmware, 0x01030000u);
    }
}

TEST (qv_posix_port, a_failing_interface_throws_at_once_and_a_vanishing_one_is_removed)
{
    for (const std::string fault : { "--fail-after", "--vanish-after" })
    {
        temporary_bus bus;
        virtual_interface a (bus, "a", { fault, "4" }); // opening takes three requests
        watching_driver driver;
        qv::reference<device> d = driver.front();
        d->transfer (false);

        const bool vanishes = fault == "--vanish-after";
        const auto start = clock::now();
        EXPECT_EQ (thrown_code ([&] { d->transfer (true); }), vanishes ? ENODEV : EIO) << fault;
        EXPECT_LT (seconds_since (start), 0.5);
        EXPECT_EQ (pump_until ([&] { return driver.empty(); }, vanishes ? 3000 : 100), vanishes) << fault;
        EXPECT_NE (thrown_code ([&] { d->transfer (false); }), 0);
    }
}

TEST (qv_posix_port, a_request_that_timed_out_does_not_take_the_next_ones_answer)
{
    temporary_bus bus;
    // The first read after opening is answered late, with bytes that are not the block.
    scripted_host late (bus, "late", [] (int request, std::vector<std::uint8_t> reply) {
        if (request == 3)
        {
            std::this_thread::sleep_for (std::chrono::milliseconds (2700));
            std::fill (reply.begin() + 28, reply.end(), 0xEE);
        }
        return reply;
    });
    watching_driver driver;
    auto& d = *driver.front();

    const auto start = clock::now();
    EXPECT_EQ (thrown_code ([&] { d.transfer (false); }), ETIMEDOUT);
    const double waited = seconds_since (start);
    EXPECT_GE (waited, 1.9);
    EXPECT_LT (waited, 2.6) << "it waited for the late reply";

    std::memset (d.parameters, 0, 16);
    d.transfer (false);
    EXPECT_EQ (d.parameters[1], 40) << "the late reply was taken for the answer";
    EXPECT_EQ (d.parameters[15], 0);
}

TEST (qv_posix_port, a_reply_that_cannot_be_trusted_ends_the_connection)
{
    const std::function<void (std::vector<std::uint8_t>&)> spoil[] = {
        [] (std::vector<std::uint8_t>& reply) { reply.assign ({ 'H', 'T', 'T', 'P', '/', '1', '.', '1', ' ', '4', '0', '0' }); },
        [] (std::vector<std::uint8_t>& reply) { reply[12] = EIO; }, // a failure that carries data
    };
    for (const auto& how : spoil)
    {
        temporary_bus bus;
        scripted_host host (bus, "a", [&] (int request, std::vector<std::uint8_t> reply) {
            if (request == 3)
                how (reply);
            return reply;
        });
        watching_driver driver;
        qv::reference<device> d = driver.front();

        EXPECT_EQ (thrown_code ([&] { d->transfer (false); }), EPROTO);
        EXPECT_TRUE (host.client_left (3000));
        EXPECT_TRUE (pump_until ([&] { return driver.empty(); }, 3000));
    }
}

TEST (qv_posix_port, an_unsafe_bus_folder_and_a_host_of_another_user_are_refused)
{
    temporary_bus bus;
    const auto real = bus.folder() + "/real", link = bus.folder() + "/link", file = bus.folder() + "/file";
    ASSERT_EQ (::mkdir (real.c_str(), 0700), 0);
    ASSERT_EQ (::symlink (real.c_str(), link.c_str()), 0);
    ASSERT_EQ (::close (::open (file.c_str(), O_CREAT | O_WRONLY, 0600)), 0);
    const bool root = ::geteuid() == 0;
    const struct
    {
        std::string folder;
        int mode, code;
    } cases[] = {
        { real, 0777, EACCES }, { real, 0720, EACCES }, { link, 0700, ENOTDIR }, { link + "/", 0700, ENOTDIR },
        { file, 0700, ENOTDIR }, { "//", 0700, root ? 0 : EPERM }, // the root folder is root's own
    };
    for (const auto& c : cases)
    {
        ASSERT_EQ (::chmod (real.c_str(), c.mode), 0);
        ::setenv ("KELTO_VIRTUAL_BUS", c.folder.c_str(), 1);
        EXPECT_EQ (thrown_code ([] { watching_driver driver; }), c.code) << c.folder;
    }
    if (! root)
        GTEST_SKIP() << "acting as another user needs root";
    ::setenv ("KELTO_VIRTUAL_BUS", real.c_str(), 1);
    ASSERT_EQ (::chown (real.c_str(), 65534, -1), 0);
    EXPECT_EQ (thrown_code ([] { watching_driver driver; }), EPERM);
    ASSERT_EQ (::chown (real.c_str(), 0, -1), 0);

    ::setenv ("KELTO_VIRTUAL_BUS", bus.folder().c_str(), 1);
    const int other = bound_socket (bus.interface_path ("other"), false);
    ASSERT_EQ (::seteuid (65534), 0);
    const int listening = ::listen (other, 4);
    ASSERT_EQ (::seteuid (0), 0);
    ASSERT_EQ (listening, 0);
    EXPECT_EQ (thrown_code ([] { watching_driver driver; }), EPERM);
    ::close (other);
}

TEST (qv_posix_port, a_bus_folder_made_or_made_again_is_private_followed_and_may_be_longer_than_a_socket_address)
{
    temporary_bus bus;
    const auto nested = bus.folder() + "/" + std::string (100, 'f');
    ::setenv ("KELTO_VIRTUAL_BUS", nested.c_str(), 1);
    watching_driver driver;
    struct stat info {};
    ASSERT_EQ (::stat (nested.c_str(), &info), 0);
    EXPECT_EQ (info.st_mode & 0777, 0700u);

    // Made again twice (by a rename, then by the host) before the loop runs: the second
    // notice names the folder already followed.
    const auto quoted = "'" + nested + "'";
    ASSERT_EQ (std::system (("rm -r " + quoted + " && mkdir -m 700 " + quoted + ".new && mv " + quoted + ".new " + quoted
                             + " && rm -r " + quoted).c_str()),
               0);
    virtual_interface a (nested, std::string (100, 'n')); // makes the folder again
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 1; }, 3000));
    EXPECT_NO_THROW (driver.front()->transfer (false));

    // Another host plugged in later goes through the new folder's own watch.
    virtual_interface b (nested, "b");
    EXPECT_TRUE (pump_until ([&] { return driver.size() == 2; }, 3000));
    EXPECT_EQ (driver.arrivals, (std::vector<std::string> { a.path(), b.path() }));
}

TEST (qv_posix_port, the_bus_folder_follows_the_environment)
{
    temporary_bus bus; // restores KELTO_VIRTUAL_BUS afterwards
    const char* runtime = std::getenv ("XDG_RUNTIME_DIR");
    const std::string saved_runtime = runtime != nullptr ? runtime : "";

    EXPECT_EQ (qv::bus::configured_folder(), bus.folder());
    ::unsetenv ("KELTO_VIRTUAL_BUS");
    ::setenv ("XDG_RUNTIME_DIR", "/run/user/4242", 1);
    EXPECT_EQ (qv::bus::configured_folder(), "/run/user/4242/kelto-veltrano");
    ::unsetenv ("XDG_RUNTIME_DIR");
    EXPECT_EQ (qv::bus::configured_folder(), "/tmp/kelto-veltrano-" + std::to_string (::geteuid()));
    if (runtime != nullptr)
        ::setenv ("XDG_RUNTIME_DIR", saved_runtime.c_str(), 1);
}

// A modal loop that runs inside one of JUCE's descriptor callbacks (a gain menu opened
// by a click) while an interface hangs up in the same pass of the run loop: the removal
// is handled inside the modal loop, and when the outer pass goes on it must not call
// anything freed meanwhile (the sanitizer build reports it if it does).
TEST (qv_posix_port, a_hang_up_handled_inside_a_modal_loop_leaves_the_outer_pass_sound)
{
    // Made before the interface's connection, so JUCE calls it first in a pass.
    int click[2];
    ASSERT_EQ (::pipe (click), 0);
    temporary_bus bus;
    virtual_interface plugged (bus, "a");
    watching_driver driver;

    bool modal_loop_ran = false;
    juce::LinuxEventLoop::registerFdCallback (click[0], [&] (int fd) {
        juce::LinuxEventLoop::unregisterFdCallback (fd);
        modal_loop_ran = pump_until ([&] { return ! driver.removals.empty(); }, 3000);
        pump_for (20);
    });
    // Both become ready before the next pass: the host is gone and the "click" waits.
    plugged.unplug (SIGKILL);
    ASSERT_EQ (::write (click[1], "x", 1), 1);
    pump_until ([&] { return modal_loop_ran; }, 3000);
    pump_for (20);

    EXPECT_TRUE (modal_loop_ran);
    EXPECT_EQ (driver.removals.size(), 1u);
    EXPECT_TRUE (driver.empty());
    ::close (click[0]);
    ::close (click[1]);
}

TEST (qv_posix_port, descriptors_refused_at_any_step_of_listening_fail_it_with_emfile_and_leave_none_behind)
{
    temporary_bus bus;
    {
        watching_driver once; // what the port keeps for the process (its event hub) is made now
    }
    // Every number below the highest taken, so that the limit leaves exactly `spare` free.
    std::vector<int> fillers;
    for (int fd = ::open ("/", O_PATH | O_CLOEXEC); fd >= 0 && fd < open_descriptors().back();
         fd = ::open ("/", O_PATH | O_CLOEXEC))
        fillers.push_back (fd);
    const auto before = open_descriptors();
    rlimit saved {};
    ::getrlimit (RLIMIT_NOFILE, &saved);
    std::set<std::int64_t> outcomes;
    for (int spare = 0; spare <= 8; ++spare)
    {
        rlimit lowered = saved;
        lowered.rlim_cur = rlim_t (before.back() + 1 + spare);
        ::setrlimit (RLIMIT_NOFILE, &lowered);
        outcomes.insert (thrown_code ([] { watching_driver driver; }));
        ::setrlimit (RLIMIT_NOFILE, &saved);
        EXPECT_EQ (open_descriptors(), before) << spare << " spare descriptors";
    }
    for (int fd : fillers)
        ::close (fd);
    EXPECT_EQ (outcomes, (std::set<std::int64_t> { EMFILE, 0 }));
}
