// The Linux port against real veltrano-virtual processes: discovery, hot-plug,
// the one-client rule, faults and the parameter block as the interface sees it.
#include "device/device.h"
#include "device/posix/bus.h"
#include "device/posix/wire.h"
#include "tests/support/paths_of.h"
#include "tests/support/scripted_host.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/fsuid.h>
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
    // What a killed host leaves behind: a socket file nobody listens on. A hidden
    // name is a host still plugging in.
    ::close (bound_socket (bus.interface_path ("dead"), false));
    const int hidden = bound_socket (bus.interface_path (".plugging"));
    ASSERT_GE (hidden, 0);

    watching_driver driver;
    EXPECT_TRUE (driver.empty());
    ::close (hidden);

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

TEST (qv_posix_port, only_hosts_and_clients_of_the_own_user_are_talked_to)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "acting as another user needs root";
    temporary_bus bus;
    {
        // A socket that a process of another user listens on.
        const int other = bound_socket (bus.interface_path ("other"), false);
        ASSERT_EQ (::seteuid (65534), 0);
        const int listening = ::listen (other, 4);
        ASSERT_EQ (::seteuid (0), 0);
        ASSERT_EQ (listening, 0);
        EXPECT_EQ (thrown_code ([] { watching_driver driver; }), std::uint32_t (EPERM));
        ::close (other);
        ::unlink (bus.interface_path ("other").c_str());
    }

    virtual_interface a (bus, "a");
    const int client = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strcpy (address.sun_path, a.path().c_str());
    // Another user's client, that still may look into the folder.
    ASSERT_EQ (::seteuid (65534), 0);
    ::setfsuid (0);
    const int connected = ::connect (client, reinterpret_cast<sockaddr*> (&address), sizeof address);
    ASSERT_EQ (::seteuid (0), 0);
    ASSERT_EQ (connected, 0);
    std::uint8_t hello[qv::wire::header_size] = {};
    EXPECT_EQ (::recv (client, hello, sizeof hello, MSG_WAITALL), ssize_t (sizeof hello));
    EXPECT_EQ (qv::wire::get_u32 (hello + 12), std::uint32_t (EPERM));
    ::close (client);

    watching_driver driver;
    EXPECT_EQ (driver.size(), 1u) << "the interface still serves its own user";
}

TEST (qv_posix_port, an_interface_whose_removal_failed_comes_back_when_plugged_again)
{
    struct failing_once : watching_driver
    {
        void on_removal (device& d) override
        {
            if (failures-- > 0)
                throw std::runtime_error ("the page could not be taken down");
            watching_driver::on_removal (d);
        }
        int failures = 1;
    };
    temporary_bus bus;
    auto first = std::make_unique<virtual_interface> (bus, "a");
    failing_once driver;

    first->unplug();
    ASSERT_TRUE (pump_until ([&] { return driver.failures == 0; }, 3000));
    EXPECT_EQ (driver.size(), 1u);

    virtual_interface second (bus, "a", { "--firmware", "1.3.0" });
    ASSERT_TRUE (pump_until ([&] { return driver.arrivals.size() == 1; }, 3000));
    EXPECT_EQ (driver.removals, driver.arrivals);
    ASSERT_EQ (driver.size(), 1u);
    EXPECT_EQ (driver.front()->firmware, 0x01030000u);
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
    EXPECT_EQ (thrown_code ([&] { d.transfer (false); }), std::uint32_t (ETIMEDOUT));
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

        EXPECT_EQ (thrown_code ([&] { d->transfer (false); }), std::uint32_t (EPROTO));
        EXPECT_TRUE (host.client_left (3000));
        EXPECT_TRUE (pump_until ([&] { return driver.empty(); }, 3000));
        EXPECT_EQ (driver.removals.size(), 1u);
        EXPECT_NE (thrown_code ([&] { d->transfer (false); }), 0u);
    }
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

TEST (qv_posix_port, an_unsafe_bus_folder_is_refused_by_both_sides)
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
        int mode;
        uid_t owner;
        int code;
        const char* reason;
    } cases[] = {
        { real, 0777, 0, EACCES, "(others may write to it; it must be mode 0700)" },
        { real, 0720, 0, EACCES, "(others may write to it; it must be mode 0700)" },
        { link, 0700, 0, ENOTDIR, "(a symbolic link or a file, not a folder)" },
        { link + "/", 0700, 0, ENOTDIR, "(a symbolic link or a file, not a folder)" },
        { file, 0700, 0, ENOTDIR, "(a symbolic link or a file, not a folder)" },
        { real, 0700, 65534, EPERM, "(owned by another user)" },
    };
    for (const auto& c : cases)
    {
        if (c.owner != 0 && ! root)
            continue; // a folder of another owner needs root to make
        ASSERT_EQ (::chmod (real.c_str(), c.mode), 0);
        ASSERT_EQ (::chown (real.c_str(), root ? c.owner : -1, -1), 0);
        ::setenv ("KELTO_VIRTUAL_BUS", c.folder.c_str(), 1);
        EXPECT_EQ (thrown_code ([] { watching_driver driver; }), std::uint32_t (c.code)) << c.folder;
        virtual_interface host (c.folder, "a", {}, false);
        EXPECT_EQ (host.wait_for_exit (3000), 2) << c.folder;
        EXPECT_NE (host.output().find ("bus folder " + c.folder + " refused: " + std::strerror (c.code) + " " + c.reason),
                   std::string::npos)
            << host.output();
    }
    ASSERT_EQ (::chown (real.c_str(), root ? 0 : -1, -1), 0);
}

TEST (qv_posix_port, a_missing_bus_folder_is_created_private_and_may_be_longer_than_a_socket_address)
{
    temporary_bus bus;
    const auto nested = bus.folder() + "/" + std::string (100, 'f');
    const std::string name (100, 'n');
    ::setenv ("KELTO_VIRTUAL_BUS", nested.c_str(), 1);
    watching_driver driver;
    struct stat info {};
    ASSERT_EQ (::stat (nested.c_str(), &info), 0);
    EXPECT_EQ (info.st_mode & 0777, 0700u);

    virtual_interface a (nested, name);
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 1; }, 3000)) << a.output();
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { nested + "/" + name });
    EXPECT_NO_THROW (driver.front()->transfer (false));
}

TEST (qv_posix_port, interfaces_in_a_bus_folder_made_again_arrive)
{
    temporary_bus bus;
    watching_driver driver;
    ASSERT_EQ (std::system (("rm -r '" + bus.folder() + "'").c_str()), 0);
    virtual_interface a (bus, "a"); // makes the folder again
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 1; }, 3000));

    // Another host plugged in later goes through the new folder's own watch.
    virtual_interface b (bus, "b");
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
