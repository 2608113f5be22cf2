// The Linux port against real veltrano-virtual processes: discovery, hot-plug,
// the one-client rule, faults and the parameter block as the interface sees it.
#include "device/device.h"
#include "device/posix/bus.h"
#include "tests/support/paths_of.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
using clock = std::chrono::steady_clock;

class watching_driver : public qv::driver<os_result, device>
{
public:
    void on_arrival (device& d) override { arrivals.push_back (d); }
    void on_removal (device& d) override { removals.push_back (d); }

    std::vector<std::string> arrivals, removals;
};

double seconds_since (clock::time_point start) { return std::chrono::duration<double> (clock::now() - start).count(); }

std::vector<int> numbered_block()
{
    std::vector<int> block;
    for (int i = 0; i < 16; ++i)
        block.push_back (100 + i);
    return block;
}

} // namespace

TEST (qv_posix_port, present_interfaces_are_listed_silently_in_name_order)
{
    temporary_bus bus;
    virtual_interface b (bus, "b");
    virtual_interface a (bus, "a");
    virtual_interface upper (bus, "B"); // identities are exact: not the same as "b"

    watching_driver driver;
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { upper.path(), a.path(), b.path() }));
    pump_for (100);
    EXPECT_TRUE (driver.arrivals.empty());
    EXPECT_TRUE (driver.removals.empty());
}

TEST (qv_posix_port, an_empty_bus_gives_an_empty_list_and_a_leftover_socket_is_not_an_interface)
{
    temporary_bus bus;
    // What a killed host leaves behind: a socket file nobody listens on.
    const int fd = ::socket (AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const auto path = bus.interface_path ("dead");
    std::strcpy (address.sun_path, path.c_str());
    ASSERT_EQ (::bind (fd, reinterpret_cast<sockaddr*> (&address), sizeof address), 0);
    ::close (fd);

    watching_driver driver;
    EXPECT_TRUE (driver.empty());

    // A new host of that name replaces the leftover and arrives.
    virtual_interface revived (bus, "dead");
    EXPECT_TRUE (pump_until ([&] { return driver.size() == 1; }, 3000));
}

TEST (qv_posix_port, an_interface_plugged_in_later_is_announced_once_and_appended)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");
    watching_driver driver;

    virtual_interface c (bus, "c", { "--firmware", "1.2.3", "--driver", "2.5.7" });
    ASSERT_TRUE (pump_until ([&] { return ! driver.arrivals.empty(); }, 3000));
    pump_for (200);

    EXPECT_EQ (driver.arrivals, std::vector<std::string> { c.path() });
    EXPECT_EQ (paths_of (driver), (std::vector<std::string> { a.path(), c.path() }));
    const device& arrived = *driver.back();
    EXPECT_EQ (arrived.firmware, 0x01020300u);
    EXPECT_EQ (arrived.version, 0x02050700u);
    EXPECT_EQ (arrived.parameters[1], 40) << "power-on block was read";
}

TEST (qv_posix_port, an_interface_pulled_out_is_announced_and_dropped)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");
    virtual_interface b (bus, "b");
    watching_driver driver;
    qv::reference<device> held = driver.front(); // as a page's button would

    EXPECT_EQ (a.unplug(), 0);
    ASSERT_TRUE (pump_until ([&] { return ! driver.removals.empty(); }, 3000));
    pump_for (100);

    EXPECT_EQ (driver.removals, std::vector<std::string> { a.path() });
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { b.path() });
    EXPECT_TRUE (held->removed);
    EXPECT_NE (thrown_code ([&] { held->transfer (false); }), 0u);
    EXPECT_TRUE (driver.arrivals.empty());
}

TEST (qv_posix_port, an_interface_replugged_under_the_same_name_is_removed_then_added)
{
    temporary_bus bus;
    auto first = std::make_unique<virtual_interface> (bus, "a");
    watching_driver driver;

    // Both the hang-up and the new socket are waiting when the loop next runs.
    first->unplug();
    virtual_interface second (bus, "a", { "--firmware", "1.3.0" });
    ASSERT_TRUE (pump_until ([&] { return driver.arrivals.size() == 1 && driver.removals.size() == 1; }, 3000))
        << driver.arrivals.size() << " arrivals, " << driver.removals.size() << " removals, " << driver.size() << " listed";

    ASSERT_EQ (driver.size(), 1u);
    EXPECT_EQ (driver.front()->firmware, 0x01030000u);
    EXPECT_EQ (driver.removals, driver.arrivals);
}

TEST (qv_posix_port, a_second_opener_is_refused_with_ebusy)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");
    watching_driver first;
    ASSERT_EQ (first.size(), 1u);

    EXPECT_EQ (thrown_code ([] { watching_driver second; }), std::uint32_t (EBUSY));

    // The holder keeps working, and once it lets go the interface opens again.
    first.front()->transfer (false);
    first.clear();
    watching_driver third;
    EXPECT_EQ (third.size(), 1u);
}

TEST (qv_posix_port, a_failing_interface_throws_eio_at_once)
{
    temporary_bus bus;
    // Opening takes three requests: driver version, firmware, block.
    virtual_interface a (bus, "a", { "--fail-after", "4" });
    watching_driver driver;
    auto& d = *driver.front();

    d.transfer (false);
    d.parameters[3] = 7;
    const auto start = clock::now();
    EXPECT_EQ (thrown_code ([&] { d.transfer (true); }), std::uint32_t (EIO));
    EXPECT_EQ (thrown_code ([&] { d.read_firmware(); }), std::uint32_t (EIO));
    EXPECT_LT (seconds_since (start), 0.5);
    EXPECT_EQ (a.block()[3], 34) << "the failed write changed nothing";
}

TEST (qv_posix_port, a_vanishing_interface_fails_requests_and_is_removed)
{
    temporary_bus bus;
    virtual_interface a (bus, "a", { "--vanish-after", "4" });
    watching_driver driver;
    qv::reference<device> d = driver.front();

    d->transfer (false);
    const auto start = clock::now();
    EXPECT_EQ (thrown_code ([&] { d->transfer (false); }), std::uint32_t (ENODEV));
    EXPECT_LT (seconds_since (start), 0.5);
    EXPECT_EQ (a.wait_for_exit (3000), 0);
    EXPECT_TRUE (pump_until ([&] { return driver.empty(); }, 3000));
    EXPECT_EQ (driver.removals.size(), 1u);
    EXPECT_NE (thrown_code ([&] { d->transfer (false); }), 0u);
}

TEST (qv_posix_port, a_slow_interface_times_out_instead_of_freezing)
{
    temporary_bus bus;
    virtual_interface slow (bus, "slow", { "--delay-ms", "2600" });
    const auto start = clock::now();
    EXPECT_EQ (thrown_code ([] { watching_driver driver; }), std::uint32_t (ETIMEDOUT));
    const double waited = seconds_since (start);
    EXPECT_GE (waited, 1.9);
    EXPECT_LT (waited, 2.6);
}

TEST (qv_posix_port, read_modify_write_of_one_byte_keeps_the_other_fifteen)
{
    temporary_bus bus;
    auto block = numbered_block();
    virtual_interface a (bus, "a", block_option (block));
    watching_driver driver;
    auto& d = *driver.front();
    EXPECT_EQ (std::vector<int> (d.parameters, d.parameters + 16), block);

    // The panel's copy is stale; the read brings the interface's bytes back.
    std::memset (d.parameters, 0, 16);
    d.transfer (false);
    d.parameters[10] = 255;
    d.transfer (true);

    block[10] = 255;
    EXPECT_EQ (a.block(), block);
    EXPECT_NE (a.output().find ("byte 10 (48 V phantom power, channel 1): 110 -> 255"), std::string::npos) << a.output();
}

TEST (qv_posix_port, an_unsafe_bus_folder_is_refused)
{
    temporary_bus bus;
    ASSERT_EQ (::chmod (bus.folder().c_str(), 0777), 0);
    EXPECT_EQ (thrown_code ([] { watching_driver driver; }), std::uint32_t (EACCES));
    EXPECT_THROW (virtual_interface (bus, "a"), std::runtime_error);

    ASSERT_EQ (::chmod (bus.folder().c_str(), 0700), 0);
    if (::geteuid() != 0)
        GTEST_SKIP() << "a folder of another owner needs root to make";
    ASSERT_EQ (::chown (bus.folder().c_str(), 65534, 65534), 0);
    EXPECT_EQ (thrown_code ([] { watching_driver driver; }), std::uint32_t (EPERM));
    EXPECT_THROW (virtual_interface (bus, "a"), std::runtime_error);
    ASSERT_EQ (::chown (bus.folder().c_str(), 0, 0), 0);
}

TEST (qv_posix_port, a_missing_bus_folder_is_created_private)
{
    temporary_bus bus;
    const auto nested = bus.folder() + "/inner";
    ::setenv ("KELTO_VIRTUAL_BUS", nested.c_str(), 1);
    watching_driver driver;
    struct stat info {};
    ASSERT_EQ (::stat (nested.c_str(), &info), 0);
    EXPECT_EQ (info.st_mode & 0777, 0700u);
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

TEST (qv_posix_port, message_is_the_system_text)
{
    EXPECT_EQ (qv::message (os_result (ENOENT)), std::strerror (ENOENT));
    EXPECT_EQ (qv::message (os_result (ETIMEDOUT)), std::strerror (ETIMEDOUT));
}
