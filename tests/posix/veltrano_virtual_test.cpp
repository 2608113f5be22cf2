// veltrano-virtual, the interface the Linux tests plug in: its state file and one host
// per name; and the client's side of the wire it speaks.
#include "device/posix/wire.h"
#include "tests/support/virtual_interface.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <unistd.h>

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
    virtual_interface one (bus, "a", {}, false), two (bus, "a", {}, false);
    for (int waited = 0; waited < 3000 && one.running() && two.running(); waited += 2)
        ::usleep (2000);
    virtual_interface& plugged = one.running() ? one : two;
    virtual_interface& refused = one.running() ? two : one;
    EXPECT_EQ (refused.wait_for_exit (0), 2) << refused.output();
    EXPECT_TRUE (plugged.running());
    EXPECT_EQ (::access (plugged.path().c_str(), F_OK), 0);
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
