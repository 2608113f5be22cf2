// The options of veltrano-virtual, one table for every system: a command line that
// one host takes and the other refuses, or refuses in other words, fails here.
#include "veltrano_options.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr unsigned host = VV_INTERFACE_OPTIONS | VV_HOST_OPTIONS;
constexpr unsigned plug = VV_INTERFACE_OPTIONS | VV_WAIT_OPTION;
constexpr unsigned unplug = VV_WAIT_OPTION;

// What was parsed, in words; the block only where it is not the power-on one.
std::string summary (const vv_options& o)
{
    vv_model power_on;
    vv_model_init (&power_on);
    std::ostringstream s;
    s << "firmware " << +o.model.firmware[0] << '.' << +o.model.firmware[1] << '.' << +o.model.firmware[2] << " driver "
      << std::hex << o.model.driver_version << std::dec << " delay " << o.model.faults.reply_delay_ms << " fail "
      << o.model.faults.fail_after << " vanish " << o.model.faults.vanish_after << " wait " << o.wait_ms;
    if (std::memcmp (o.model.block, power_on.block, sizeof power_on.block) != 0)
        for (int i = 0; i < VV_BLOCK_SIZE; ++i)
            s << (i == 0 ? " block " : " ") << +o.model.block[i];
    for (auto [label, text] : { std::pair { " name ", o.name }, { " bus ", o.bus }, { " state ", o.state_file } })
        if (text != nullptr)
            s << label << text;
    if (o.help != 0)
        s << " help";
    return s.str();
}

const std::string defaults = "firmware 1.1.1 driver 1000400 delay 0 fail -1 vanish -1 wait 30000";
} // namespace

TEST (veltrano_options, every_host_reads_a_command_line_alike)
{
    const struct
    {
        unsigned groups;
        std::vector<std::string> arguments;
        std::string parsed; // or, for a refused line, the complaint
    } cases[] = {
        { host, {}, defaults },
        { host, { "--name", "a", "--bus", "/b/", "--state-file", "s", "--firmware", "255.25.9", "--driver", "1.2.3",
                  "--delay-ms", "10000", "--fail-after", "0", "--vanish-after", "2147483647" },
          "firmware 255.25.9 driver 1020300 delay 10000 fail 0 vanish 2147483647 wait 30000 name a bus /b/ state s" },
        { plug, { "--wait-ms", "600000", "--firmware", "1.1.0", "--firmware", "1.2.0" },
          "firmware 1.2.0 driver 1000400 delay 0 fail -1 vanish -1 wait 600000" },
        { unplug, { "--wait-ms", "0" }, "firmware 1.1.1 driver 1000400 delay 0 fail -1 vanish -1 wait 0" },
        { plug, { "--block", "9", "8", "7", "6", "5", "4", "3", "2", "1", "0", "255", "254", "253", "252", "251", "250",
                  "--vanish-after", "4" },
          "firmware 1.1.1 driver 1000400 delay 0 fail -1 vanish 4 wait 30000 block 9 8 7 6 5 4 3 2 1 0 255 254 253 252 251 250" },
        { host, { "--block", " 0,1,2,3\t4 5 6 7 8 9 10 11 12 13 14 015 " },
          defaults + " block 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15" },
        { unplug, { "-h", "--colour" }, defaults + " help" },

        { host, { "plug" }, "unknown option 'plug' (see --help)" },
        { host, { "--wait-ms", "5" }, "unknown option '--wait-ms' (see --help)" },
        { plug, { "--state-file", "s" }, "unknown option '--state-file' (see --help)" },
        { plug, { "--delay-ms" }, "--delay-ms needs a value" },
        { host, { "--bus", "" }, "--bus needs a value" },
        { host, { "--name", "../escape" }, "--name: '../escape' is not a plain file name" },
        { plug, { "--firmware", "1.30.0" }, "--firmware: '1.30.0' is not X.Y.Z (X 0-255, Y 0-25, Z 0-9)" },
        { plug, { "--block", "1", "2", "3", "--firmware", "1.1.1" }, "--block needs 16 byte values, got 3" },
        { host, { "--block", "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,256" }, "--block: value 15 ('256') is not 0-255" },
        { plug, { "--delay-ms", "10001" }, "--delay-ms: '10001' is not a number from 0 to 10000" },
        { plug, { "--fail-after", "2147483648" }, "--fail-after: '2147483648' is not a number of requests" },
        { unplug, { "--wait-ms", "600001" }, "--wait-ms: '600001' is not a number from 0 to 600000" },
    };
    for (const auto& c : cases)
    {
        std::vector<char*> argv;
        std::string line;
        for (const auto& a : c.arguments)
        {
            argv.push_back (const_cast<char*> (a.c_str()));
            line += " '" + a + "'";
        }
        vv_options parsed;
        char error[256] = "untouched";
        const int result = vv_parse_options (static_cast<int> (argv.size()), argv.data(), c.groups, &parsed, error, sizeof error);
        EXPECT_EQ (result == 0 ? summary (parsed) : std::string (error), c.parsed) << "options" << line;
        EXPECT_EQ (result == 0, c.parsed.rfind ("firmware ", 0) == 0) << "options" << line;
    }
}
