// The device layers over the recording port: what opening sends, and the
// parameter transfers.
#include "recording_port.h"

#include <gtest/gtest.h>

namespace
{
using device_type = recorded_device<exact_result>;
using window_type = qv::port<exact_result>::window;
using ints = std::vector<int>;

class qv_veltrano : public ::testing::Test
{
protected:
    void SetUp() override
    {
        sys.reset();
        for (int i = 0; i < 16; ++i)
            hardware().block[i] = static_cast<std::uint8_t> (i * 3 + 1);
    }

    vv_model& hardware() { return sys.interfaces["/bus/a"].model; }
    ints sent (std::size_t request) { return ints (sys.requests[request].in.begin(), sys.requests[request].in.end()); }

    pretend_system& sys = pretend_system::get();
    window_type window;
};

const ints block_read { 0xC0, 0x4E, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 };

TEST_F (qv_veltrano, opening_asks_driver_version_then_firmware_then_block)
{
    qv::reference<device_type> d (new device_type ("/bus/a", window));

    ASSERT_EQ (sys.requests.size(), 3u);
    EXPECT_EQ (sys.requests[0].code, qv::protocol::driver_version);
    EXPECT_TRUE (sys.requests[0].in.empty());
    EXPECT_EQ (sys.requests[0].out_size, 4u);
    EXPECT_EQ (sys.requests[1].code, qv::protocol::vendor_request);
    EXPECT_EQ (sent (1), (ints { 0xC0, 0x56, 0, 0, 0, 0, 3, 0, 0, 0, 0 }));
    EXPECT_EQ (sys.requests[1].out_size, 11u);
    EXPECT_EQ (sent (2), block_read);
    EXPECT_EQ (sys.requests[2].out_size, 24u);

    EXPECT_EQ (d->version, 0x01000400u);
    EXPECT_EQ (d->firmware, 0x01010100u);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ (d->parameters[i], i * 3 + 1) << "byte " << i;
    EXPECT_FALSE (d->removed);
}

TEST_F (qv_veltrano, firmware_older_than_1_1_1_leaves_block_unread)
{
    hardware().firmware[2] = 0; // 1.1.0
    qv::reference<device_type> d (new device_type ("/bus/a", window));

    EXPECT_EQ (d->firmware, 0x01010000u);
    EXPECT_EQ (sys.requests.size(), 2u);
    EXPECT_EQ (ints (d->parameters, d->parameters + 16), ints (16, 0));
}

TEST_F (qv_veltrano, read_modify_write_sends_every_byte_as_read_and_a_failed_read_changes_nothing)
{
    qv::reference<device_type> d (new device_type ("/bus/a", window));
    hardware().block[0] = 0x5A; // the interface changed behind the panel's back
    hardware().block[15] = 0xA5;

    d->change ([] (auto& block) { block[10] = 255; });

    ints expected { 0x40, 0x4E, 0, 0, 0, 0, 16, 0 };
    for (int i = 0; i < 16; ++i)
        expected.push_back (i == 0 ? 0x5A : i == 15 ? 0xA5 : i == 10 ? 255 : i * 3 + 1);
    EXPECT_EQ (sent (3), block_read) << "a read carries zeros, not the panel's copy";
    EXPECT_EQ (sent (4), expected);
    EXPECT_EQ (hardware().block[10], 255);

    hardware().faults.fail_after = 0;
    d->parameters[4] = 77;
    const auto before = sys.requests.size();
    EXPECT_EQ (thrown_code<exact_result> ([&] { d->change ([] (auto& block) { block[5] = 0; }); }), 31);
    EXPECT_EQ (sys.requests.size(), before + 1) << "a failed read is not followed by a write";
    EXPECT_EQ (d->parameters[4], 77) << "a failed read leaves the panel's copy";
    EXPECT_EQ (d->parameters[5], 5 * 3 + 1);
}

TEST_F (qv_veltrano, failure_while_opening_throws_its_code_and_releases_in_reverse_order)
{
    const struct
    {
        std::uint32_t open_failure, watch_failure;
        std::int32_t vanish_after; // 2: version and firmware answered, then it is gone
        std::int64_t thrown;
        std::vector<std::string> log;
    } cases[] = {
        { 32, 0, VV_NEVER, 32, { "open /bus/a" } },
        { 0, 1168, VV_NEVER, 1168, { "open /bus/a", "watch 100", "close 100" } },
        { 0, 0, 2, 1167, { "open /bus/a", "watch 100", "control 100", "control 100", "control 100", "unwatch 1100", "close 100" } },
    };
    for (const auto& c : cases)
    {
        SetUp();
        sys.interfaces["/bus/a"].open_failure = c.open_failure;
        sys.interfaces["/bus/a"].watch_failure = c.watch_failure;
        hardware().faults.vanish_after = c.vanish_after;
        sys.take_log();

        EXPECT_EQ (thrown_code<exact_result> ([&] { device_type d ("/bus/a", window); }), c.thrown);
        EXPECT_EQ (sys.take_log(), c.log);
        EXPECT_TRUE (sys.open_handles.empty());
    }
}
} // namespace
