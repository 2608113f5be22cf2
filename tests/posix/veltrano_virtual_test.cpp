// veltrano-virtual as a program: its command line, its frames, and surviving
// clients that misbehave.
#include "device/device.h"
#include "device/posix/wire.h"
#include "tests/support/scripted_host.h"
#include "tests/support/virtual_interface.h"
#include "session.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <iterator>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
int connect_to (const std::string& path)
{
    const int fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strcpy (address.sun_path, path.c_str());
    EXPECT_EQ (::connect (fd, reinterpret_cast<sockaddr*> (&address), sizeof address), 0);
    return fd;
}

// Everything the host sends until it closes or goes quiet for `ms`.
std::vector<std::uint8_t> read_until_quiet (int fd, int ms)
{
    std::vector<std::uint8_t> bytes;
    for (;;)
    {
        pollfd p { fd, POLLIN, 0 };
        if (::poll (&p, 1, ms) <= 0)
            return bytes;
        std::uint8_t chunk[256];
        const ssize_t n = ::recv (fd, chunk, sizeof chunk, 0);
        if (n <= 0)
            return bytes;
        bytes.insert (bytes.end(), chunk, chunk + n);
    }
}

std::string contents (const std::string& path)
{
    std::ifstream in (path);
    return std::string (std::istreambuf_iterator<char> (in), {});
}

std::string run (const std::string& arguments, int& status)
{
    std::string output;
    FILE* pipe = ::popen ((virtual_interface::program() + " " + arguments + " 2>&1").c_str(), "r");
    char line[512];
    while (std::fgets (line, sizeof line, pipe) != nullptr)
        output += line;
    const int s = ::pclose (pipe);
    status = WIFEXITED (s) ? WEXITSTATUS (s) : -1;
    return output;
}

// How many interfaces a fresh driver opens: 1 when the host serves a new client.
std::size_t interfaces_opened()
{
    return qv::driver<os_result, device>().size();
}

std::vector<std::uint8_t> request (std::uint32_t code, std::uint32_t sequence, std::uint32_t capacity,
                                   std::vector<std::uint8_t> payload)
{
    return qv::wire::encode (code, sequence, capacity, payload.data(), static_cast<std::uint32_t> (payload.size()));
}
} // namespace

TEST (veltrano_virtual, a_bad_command_line_exits_1_and_a_state_file_that_is_not_a_file_exits_2)
{
    int status = -1;
    EXPECT_EQ (run ("--wait-ms 5", status), "veltrano-virtual: unknown option '--wait-ms' (see --help)\n");
    EXPECT_EQ (status, 1);

    temporary_bus bus;
    EXPECT_NE (run ("--bus " + bus.folder() + " --state-file /dev/null", status).find ("not a regular file"),
               std::string::npos);
    EXPECT_EQ (status, 2);
    struct stat null_device {};
    ASSERT_EQ (::stat ("/dev/null", &null_device), 0);
    EXPECT_TRUE (S_ISCHR (null_device.st_mode));
}

TEST (veltrano_virtual, the_state_file_is_never_written_through_a_planted_link)
{
    temporary_bus bus;
    const auto state = bus.folder() + "/state", victim = bus.folder() + "/victim";
    std::FILE* file = std::fopen (victim.c_str(), "w");
    std::fputs ("precious\n", file);
    std::fclose (file);
    ASSERT_EQ (::symlink (victim.c_str(), (state + ".tmp").c_str()), 0);

    virtual_interface a (bus, "a", { "--state-file", state });
    EXPECT_EQ (contents (victim), "precious\n");
    EXPECT_EQ (contents (state).rfind ("name a\n", 0), 0u) << contents (state);
}

TEST (veltrano_virtual, a_host_waits_for_one_plugging_in_under_its_name_and_then_exits_2)
{
    temporary_bus bus;
    // The test plays a host in the middle of plugging in "a": it holds the folder's lock.
    const int folder = ::open (bus.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ (::flock (folder, LOCK_EX), 0);
    virtual_interface late (bus, "a", {}, false);
    struct stat bus_folder {};
    ASSERT_EQ (::fstat (folder, &bus_folder), 0);
    const auto waiting = [&] {
        std::istringstream locks (contents ("/proc/locks"));
        for (std::string line; std::getline (locks, line);)
            if (line.find ("->") != std::string::npos && line.find (":" + std::to_string (bus_folder.st_ino) + " ") != std::string::npos)
                return true;
        return false;
    };
    for (int waited = 0; waited < 3000 && ! waiting() && ::access (late.path().c_str(), F_OK) != 0; waited += 2)
        ::usleep (2000);
    ASSERT_TRUE (waiting()) << late.output();

    const int first = bound_socket (late.path());
    ASSERT_GE (first, 0);
    ::close (folder); // the lock goes with it

    EXPECT_EQ (late.wait_for_exit (3000), 2);
    EXPECT_EQ (late.output(), "veltrano-virtual: an interface named a is plugged in already\n");
    ::close (first);
}

TEST (veltrano_virtual, a_signal_unplugs_it_and_removes_its_socket)
{
    temporary_bus bus;
    for (int signal : { SIGINT, SIGTERM })
    {
        virtual_interface a (bus, "a");
        ASSERT_EQ (::access (a.path().c_str(), F_OK), 0);
        EXPECT_EQ (a.unplug (signal), 0) << "signal " << signal;
        EXPECT_NE (::access (a.path().c_str(), F_OK), 0);
        EXPECT_NE (a.output().find ("unplugged"), std::string::npos);
    }
}

TEST (veltrano_virtual, garbage_gets_an_error_and_the_next_client_is_served)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");

    const int fd = connect_to (a.path());
    const std::string garbage = "GET / HTTP/1.1\r\nHost: veltrano\r\n\r\n";
    ASSERT_EQ (::send (fd, garbage.data(), garbage.size(), MSG_NOSIGNAL), ssize_t (garbage.size()));
    const auto replies = read_until_quiet (fd, 2000);
    ::close (fd);

    qv::wire::frame hello, error;
    ASSERT_EQ (qv::wire::parse_frame (replies.data(), replies.size(), hello), qv::wire::parse_result::complete);
    EXPECT_EQ (hello.word, 0u);
    ASSERT_EQ (qv::wire::parse_frame (replies.data() + hello.size, replies.size() - hello.size, error),
               qv::wire::parse_result::complete);
    EXPECT_EQ (error.word, std::uint32_t (EPROTO));
    EXPECT_EQ (replies.size(), hello.size + error.size) << "the host hangs up after the error";

    EXPECT_TRUE (a.running());
    EXPECT_EQ (interfaces_opened(), 1u);
}

TEST (veltrano_virtual, a_client_leaving_mid_frame_does_not_hold_the_interface)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");

    const int fd = connect_to (a.path());
    auto frame = request (qv::wire::vendor_request, 1, 24, std::vector<std::uint8_t> (24, 0));
    ASSERT_EQ (::send (fd, frame.data(), 13, MSG_NOSIGNAL), 13);
    ::close (fd);

    EXPECT_EQ (interfaces_opened(), 1u);
    EXPECT_TRUE (a.running());
}

TEST (veltrano_virtual, a_client_that_never_reads_its_replies_is_dropped)
{
    temporary_bus bus;
    virtual_interface a (bus, "a");

    const int fd = connect_to (a.path());
    const auto frame = request (qv::wire::driver_version, 1, 4, {});
    std::vector<std::uint8_t> flood;
    for (int i = 0; i < 512; ++i)
        flood.insert (flood.end(), frame.begin(), frame.end());
    // Ask and ask until the host stops taking requests: its replies pile up unread.
    int stalled_ms = 0;
    while (stalled_ms < 200)
    {
        if (::send (fd, flood.data(), flood.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0)
            stalled_ms = 0;
        else if (errno == EAGAIN)
            stalled_ms += 10, ::usleep (10000);
        else
            break; // dropped already
    }

    EXPECT_EQ (interfaces_opened(), 1u) << "the flooding client still holds the interface";
    ::close (fd);
    EXPECT_EQ (a.unplug(), 0);
}

TEST (veltrano_virtual, session_answers_whole_requests_and_rejects_what_it_does_not_know)
{
    vv_model model;
    vv_model_init (&model);
    session s (model);

    // Driver version, sent in two pieces.
    auto version = request (qv::wire::driver_version, 7, 4, {});
    EXPECT_TRUE (s.receive (version.data(), 10).empty());
    auto responses = s.receive (version.data() + 10, version.size() - 10);
    ASSERT_EQ (responses.size(), 1u);
    qv::wire::frame reply;
    ASSERT_EQ (qv::wire::parse_frame (responses[0].reply.data(), responses[0].reply.size(), reply),
               qv::wire::parse_result::complete);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::driver_version, 7, 4), qv::wire::reply_verdict::answer);
    EXPECT_EQ (qv::wire::get_u32 (reply.payload), 0x01000400u);

    // An unknown code and a request the model stalls on, back to back.
    auto unknown = request (0x00220010, 8, 0, {});
    auto stalled = request (qv::wire::vendor_request, 9, 11, { 0xC0, 0x99, 0, 0, 0, 0, 3, 0, 0, 0, 0 });
    unknown.insert (unknown.end(), stalled.begin(), stalled.end());
    responses = s.receive (unknown.data(), unknown.size());
    ASSERT_EQ (responses.size(), 2u);
    ASSERT_EQ (qv::wire::parse_frame (responses[0].reply.data(), responses[0].reply.size(), reply),
               qv::wire::parse_result::complete);
    EXPECT_EQ (reply.word, std::uint32_t (EINVAL));
    ASSERT_EQ (qv::wire::parse_frame (responses[1].reply.data(), responses[1].reply.size(), reply),
               qv::wire::parse_result::complete);
    EXPECT_EQ (reply.word, std::uint32_t (EIO));
    EXPECT_FALSE (responses[1].hang_up);

    // A write reports what it changed.
    std::vector<std::uint8_t> write { 0x40, 0x4E, 0, 0, 0, 0, 16, 0 };
    write.insert (write.end(), model.block, model.block + 16);
    write[8 + 10] = 255;
    auto frame = request (qv::wire::vendor_request, 10, 24, write);
    responses = s.receive (frame.data(), frame.size());
    ASSERT_EQ (responses.size(), 1u);
    EXPECT_TRUE (responses[0].wrote_block);
    EXPECT_EQ (responses[0].changed_mask, 1u << 10);
    EXPECT_EQ (model.block[10], 255);

    // An absurd length cannot be skipped: the session gives up on the stream.
    auto huge = request (qv::wire::vendor_request, 11, 24, {});
    huge[17] = 0xFF; // length 0xFF00
    responses = s.receive (huge.data(), huge.size());
    ASSERT_EQ (responses.size(), 1u);
    EXPECT_TRUE (responses[0].hang_up);
    EXPECT_TRUE (s.receive (version.data(), version.size()).empty());
}

TEST (veltrano_virtual, the_client_tells_late_and_foreign_replies_apart)
{
    qv::wire::frame reply;
    reply.code = qv::wire::vendor_request;
    reply.sequence = 5;
    reply.length = 24;
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 24), qv::wire::reply_verdict::answer);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 6, 24), qv::wire::reply_verdict::stale);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 4, 24), qv::wire::reply_verdict::mismatch);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::driver_version, 5, 24), qv::wire::reply_verdict::mismatch);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 11), qv::wire::reply_verdict::mismatch)
        << "more bytes than asked for";
    reply.word = EIO;
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 24), qv::wire::reply_verdict::mismatch)
        << "a failure carries no data";

    // A late reply, then the answer arriving in two pieces.
    const std::uint8_t late[4] = { 1, 2, 3, 4 }, answer[4] = { 9, 8, 7, 6 };
    auto stream = qv::wire::encode (qv::wire::driver_version, 4, 0, late, 4);
    const auto whole = qv::wire::encode (qv::wire::driver_version, 5, 0, answer, 4);
    stream.insert (stream.end(), whole.begin(), whole.end() - 3);
    std::uint8_t out[4] = {};
    std::uint32_t status = 99;
    EXPECT_EQ (qv::wire::take_reply (stream, qv::wire::driver_version, 5, out, 4, status), qv::wire::take_result::need_more);
    stream.insert (stream.end(), whole.end() - 3, whole.end());
    EXPECT_EQ (qv::wire::take_reply (stream, qv::wire::driver_version, 5, out, 4, status), qv::wire::take_result::answered);
    EXPECT_EQ (status, 0u);
    EXPECT_EQ (std::vector<int> (out, out + 4), (std::vector<int> { 9, 8, 7, 6 }));
    EXPECT_TRUE (stream.empty());

    std::vector<std::uint8_t> bytes = qv::wire::encode (qv::wire::hello, 0, 0, nullptr, 0);
    EXPECT_EQ (qv::wire::parse_frame (bytes.data(), 3, reply), qv::wire::parse_result::incomplete);
    bytes[0] ^= 1;
    EXPECT_EQ (qv::wire::parse_frame (bytes.data(), 4, reply), qv::wire::parse_result::malformed);
}
