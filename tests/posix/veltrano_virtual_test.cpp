// veltrano-virtual, the interface the Linux tests plug in: its state file and one host
// per name; and the client's side of the wire it speaks.
#include "device/posix/wire.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
std::string contents (const std::string& path)
{
    std::ifstream in (path);
    return std::string (std::istreambuf_iterator<char> (in), {});
}
} // namespace

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

TEST (veltrano_virtual, of_two_hosts_started_with_one_name_one_plugs_in_and_the_other_exits_2)
{
    temporary_bus bus;
    std::vector<int> block;
    for (int i = 0; i < 16; ++i)
        block.push_back (255 - i * 17);
    virtual_interface one (bus, "a", block_option (block), false), two (bus, "a", block_option (block), false);
    for (int waited = 0; waited < 3000 && one.running() && two.running(); waited += 2)
        ::usleep (2000);
    virtual_interface& plugged = one.running() ? one : two;
    virtual_interface& refused = one.running() ? two : one;
    EXPECT_EQ (refused.wait_for_exit (0), 2) << refused.output();
    EXPECT_NE (refused.output().find ("plugged in already"), std::string::npos) << "what it wrote to stderr";
    EXPECT_TRUE (plugged.running());
    EXPECT_EQ (plugged.block(), block);
    EXPECT_EQ (::access (plugged.path().c_str(), F_OK), 0);
}

TEST (veltrano_virtual, a_test_program_killed_while_it_holds_a_host_takes_the_host_with_it)
{
    temporary_bus bus;
    // Orphans come to this process, so the host's end is seen here whatever init does.
    struct adopting_orphans
    {
        adopting_orphans() { ::prctl (PR_SET_CHILD_SUBREAPER, 1); }
        ~adopting_orphans() { ::prctl (PR_SET_CHILD_SUBREAPER, 0); }
    } adopting;
    std::string program = std::filesystem::read_symlink ("/proc/self/exe"), option = virtual_interface::hold_option,
                folder = bus.folder();
    char* argv[] = { program.data(), option.data(), folder.data(), nullptr };
    int said[2];
    ASSERT_EQ (::pipe2 (said, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init (&actions);
    posix_spawn_file_actions_adddup2 (&actions, said[1], 1);
    pid_t holder = -1;
    const int spawned = ::posix_spawn (&holder, argv[0], &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy (&actions);
    ::close (said[1]);
    pollfd line { said[0], POLLIN, 0 };
    char text[16] = {};
    const bool told = spawned == 0 && ::poll (&line, 1, 5000) == 1 && ::read (said[0], text, sizeof text - 1) > 0;
    ::close (said[0]);
    if (spawned == 0)
    {
        ::kill (holder, SIGKILL);
        ::waitpid (holder, nullptr, 0);
    }
    const pid_t host = told ? std::atoi (text) : -1;
    ASSERT_GT (host, 0) << "the held host never came up";

    int status = -1;
    bool gone = false;
    for (int waited = 0; waited < 3000 && ! gone; waited += 2)
        if (! (gone = ::waitpid (host, &status, WNOHANG) == host))
            ::usleep (2000);
    if (! gone)
    {
        ::kill (host, SIGKILL);
        ::waitpid (host, nullptr, 0);
    }
    EXPECT_TRUE (gone) << "veltrano-virtual outlived the test program that started it";
    EXPECT_TRUE (WIFEXITED (status) && WEXITSTATUS (status) == 0) << "unplugged, not killed: " << status;
    EXPECT_NE (::access (bus.interface_path ("held").c_str(), F_OK), 0) << "its socket is left behind";
}

TEST (veltrano_virtual, the_client_tells_late_and_foreign_replies_apart)
{
    qv::wire::frame reply { qv::wire::vendor_request, 5, 0, 24 };
    using qv::wire::reply_verdict;
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 24), reply_verdict::answer);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 6, 24), reply_verdict::stale);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 4, 24), reply_verdict::mismatch);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::driver_version, 5, 24), reply_verdict::mismatch);
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 11), reply_verdict::mismatch) << "more than asked for";
    reply.word = EIO;
    EXPECT_EQ (qv::wire::judge_reply (reply, qv::wire::vendor_request, 5, 24), reply_verdict::mismatch) << "a failure carries no data";

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
    bytes[17] = 0xFF; // a length no frame may have: nothing after it can be found
    EXPECT_EQ (qv::wire::parse_frame (bytes.data(), bytes.size(), reply), qv::wire::parse_result::malformed);
    bytes[0] ^= 1;
    EXPECT_EQ (qv::wire::parse_frame (bytes.data(), 4, reply), qv::wire::parse_result::malformed);
}
