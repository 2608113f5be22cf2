// What veltrano-ctl makes of what is typed, before any interface is touched: the command
// line, NAME=VALUE words against the real skin's controls, and the interface chosen.
#include "ctl/assignments.h"
#include "ctl/bad_input.h"
#include "ctl/command_line.h"
#include "ctl/interface_choice.h"
#include "ctl/value_parsing.h"
#include "app/skin_root.h"
#include "device/device.h"

#include <gtest/gtest.h>

namespace
{
    // The message of the bad_input (or "unavailable: ..." of the other kind) that `action`
    // throws; empty when it throws none.
    template <class Action>
    std::string refusal (Action&& action)
    {
        try
        {
            action();
        }
        catch (const ctl::bad_input& e)
        {
            return e.what();
        }
        catch (const ctl::unavailable& e)
        {
            return std::string ("unavailable: ") + e.what();
        }
        return {};
    }

    const std::vector<ctl::control>& skin_controls()
    {
        static const auto controls = ctl::read_controls (*parse_skin());
        return controls;
    }

    const ctl::control& skin_control (const char* name) { return *ctl::find_control (skin_controls(), name); }
}

TEST (ctl_command_line, reads_commands_and_options_anywhere)
{
    using ctl::command;
    const struct
    {
        std::vector<std::string> args;
        command what;
        bool json;
        const char* interface_choice; // nullptr: none given
        std::vector<std::string> assignments;
    } cases[] = {
        { { "list" }, command::list, false, nullptr, {} },
        { { "list", "--json" }, command::list, true, nullptr, {} },
        { { "--interface", "2", "show" }, command::show, false, "2", {} },
        { { "show", "--interface=/bus/a b", "--json" }, command::show, true, "/bus/a b", {} },
        { { "set", "phantom-1=on", "--interface", "1", "output-12=-3" }, command::set, false, "1", { "phantom-1=on", "output-12=-3" } },
        { { "set", "x", "--help" }, command::help, false, nullptr, {} },
        { { "frob", "-h" }, command::help, false, nullptr, {} },
        { { "--version", "frob" }, command::version, false, nullptr, {} },
    };
    for (const auto& c : cases)
    {
        const auto line = ctl::parse_command_line (c.args);
        const auto label = ::testing::PrintToString (c.args);
        EXPECT_EQ (line.what, c.what) << label;
        EXPECT_EQ (line.json, c.json) << label;
        EXPECT_EQ (line.interface_choice.value_or ("(none)"), c.interface_choice != nullptr ? c.interface_choice : "(none)") << label;
        EXPECT_EQ (line.assignments, c.assignments) << label;
    }
}

TEST (ctl_command_line, refuses_what_it_cannot_carry_out)
{
    const struct
    {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        { {}, "no command: list, show or set" },
        { { "--json" }, "no command: list, show or set" },
        { { "frob" }, "unknown command \"frob\": list, show or set" },
        { { "list", "-x" }, "unknown option -x" },
        { { "list", "--interface", "1" }, "list shows every interface; it takes no --interface" },
        { { "set", "--json", "a=1" }, "--json goes with list and show" },
        { { "show", "extra" }, "show takes no argument \"extra\"" },
        { { "list", "extra" }, "list takes no argument \"extra\"" },
        { { "set" }, "set needs at least one NAME=VALUE" },
        { { "show", "--interface" }, "--interface needs a number from \"veltrano-ctl list\" or a path" },
        { { "show", "--interface=" }, "--interface needs a number from \"veltrano-ctl list\" or a path" },
        { { "show", "--interface", "1", "--interface=2" }, "--interface is given more than once" },
    };
    for (const auto& c : cases)
        EXPECT_EQ (refusal ([&] { ctl::parse_command_line (c.args); }), c.message) << ::testing::PrintToString (c.args);
}

TEST (ctl_values, a_word_a_byte_or_a_marked_byte_of_the_control_and_nothing_else)
{
    const struct
    {
        const char* control;
        const char* text;
        int byte; // -1: refused
    } cases[] = {
        { "phantom-1", "on", 255 },
        { "phantom-1", "OFF", 0 },
        { "phantom-1", "255", 255 },
        { "phantom-1", "#0", 0 },
        { "phantom-1", "1", -1 },
        { "phantom-1", "", -1 },
        { "headset-source", "1/2", 255 },
        { "headset-source", "3/4", 0 },
        { "output-12", "0dB", 40 },
        { "output-12", " 0 DB ", 40 },
        { "output-12", "-3", 34 },
        { "output-12", "-121.5", 2 },
        { "output-12", "Mute", 1 },
        { "output-12", "40", 40 },
        { "output-12", "#1", 1 },
        { "output-12", "41", -1 },
        { "output-12", "#41", -1 },
        { "output-12", "0", -1 },
        { "output-12", "#", -1 },
        { "output-12", "#+1", -1 },
        { "gain-1", "5", 3 },   // the word wins over the byte
        { "gain-1", "#5", 5 },  // unless the byte is marked
        { "gain-1", "6", 6 },
        { "gain-1", "0020", -1 },
        { "gain-1", "256", -1 },
        { "gain-1", "#276", -1 }, // 276 is 20 in its low byte
        { "gain-2", "50.5 (43)", 20 },
        { "gain-2-hi-z", "43", 20 },
        { "gain-2-hi-z", "42.5", -1 }, // two steps read so
        { "headset-12", "-69", 11 },
        { "headset-12", "#11", 11 },
        { "headset-12", "#10", -1 }, // steps 2 to 10 are not in its menu
    };
    for (const auto& c : cases)
    {
        int byte = -1;
        const auto message = refusal ([&] { byte = ctl::parse_value (skin_control (c.control), c.text); });
        EXPECT_EQ (byte, c.byte) << c.control << "=" << c.text << ": " << message;
    }
}

TEST (ctl_values, a_refusal_names_the_control_and_lists_its_words_and_bytes)
{
    const struct
    {
        const char* control;
        const char* text;
        std::string message;
    } cases[] = {
        { "phantom-1", "2", "phantom-1: \"2\" is not one of its values: on, off; or as a byte: 255, 0" },
        { "headset-12", "#5",
          "headset-12: \"#5\" is not one of its values: +6, +5, +4, +3, +2, +1, 0 dB, -1, -2, -3, -5, -7, -9, -11, -13, -15, "
          "-17, -20, -23, -26, -29, -32, -36, -40, -44, -48, -53, -58, -63, -69, mute; or as a byte: 40 to 11, 1" },
        { "gain-2-hi-z", "42.5", "gain-2-hi-z: \"42.5\" names more than one step of its menu; give the byte: #19 or #18" },
    };
    for (const auto& c : cases)
        EXPECT_EQ (refusal ([&] { ctl::parse_value (skin_control (c.control), c.text); }), c.message);

    // A run of two bytes is no range; a byte alone between runs stands alone.
    ctl::control odd { "odd", 3, "", false, { { 9, "a" }, { 8, "b" }, { 6, "c" }, { 4, "d" }, { 3, "e" }, { 2, "f" } } };
    EXPECT_EQ (ctl::accepted_values (odd), "a, b, c, d, e, f; or as a byte: 9, 8, 6, 4 to 2");
}

TEST (ctl_assignments, keep_their_order_and_refuse_the_whole_line_for_one_bad_word)
{
    const auto changes = ctl::parse_assignments (skin_controls(), { "phantom-1=on", "output-12=-3", "gain-1=#5" });
    ASSERT_EQ (changes.size(), 3u);
    EXPECT_EQ (changes[0].target->name, "phantom-1");
    EXPECT_EQ (changes[0].byte, 255);
    EXPECT_EQ (changes[1].target->byte, 1u);
    EXPECT_EQ (changes[1].byte, 34);
    EXPECT_EQ (changes[2].byte, 5);

    const struct
    {
        std::vector<std::string> words;
        std::string message;
    } cases[] = {
        { { "phantom-1=on", "nosuch=1" },
          "no control is named \"nosuch\"; the names are: output-12, headset-12, headset-34, gain-1, gain-2, gain-34, "
          "gain-2-hi-z, monitoring, hi-z, phantom-1, phantom-2, headset-source" },
        { { "=on" }, "no control is named \"\"; the names are: output-12, headset-12, headset-34, gain-1, gain-2, gain-34, "
                     "gain-2-hi-z, monitoring, hi-z, phantom-1, phantom-2, headset-source" },
        { { "phantom-1=on", "phantom-1=on" }, "phantom-1 is given more than once" },
        { { "phantom-1=" }, "phantom-1= gives no value; phantom-1 takes: on, off; or as a byte: 255, 0" },
        { { "monitoring" }, "\"monitoring\" is not NAME=VALUE" },
        { { "phantom-1=o=n" }, "phantom-1: \"o=n\" is not one of its values: on, off; or as a byte: 255, 0" },
    };
    for (const auto& c : cases)
        EXPECT_EQ (refusal ([&] { ctl::parse_assignments (skin_controls(), c.words); }), c.message);
}

TEST (ctl_interface_choice, by_number_by_path_or_the_only_one)
{
    const std::vector<std::string> two { "/bus/a", "/bus/B" }, one { "/bus/a" }, none;
    const auto folds = qv::port<qv::os_result>::case_insensitive;
    const struct
    {
        const std::vector<std::string>& paths;
        const char* wanted; // nullptr: none given
        std::string result; // the position, or the refusal
    } cases[] = {
        { one, nullptr, "0" },
        { two, "2", "1" },
        { two, "1", "0" },
        { two, "02", "1" },
        { two, "/bus/B", "1" },
        { two, "/bus/b", folds ? "1" : "no interface /bus/b; connected:\n  1  /bus/a\n  2  /bus/B" },
        { two, nullptr, "several interfaces are connected; choose one with --interface N or PATH:\n  1  /bus/a\n  2  /bus/B" },
        { two, "3", "no interface 3; connected:\n  1  /bus/a\n  2  /bus/B" },
        { two, "0", "no interface 0; connected:\n  1  /bus/a\n  2  /bus/B" },
        { two, "9999999999", "no interface 9999999999; connected:\n  1  /bus/a\n  2  /bus/B" }, // past 32 bits
        { two, "1234567890123456789012345", "no interface 1234567890123456789012345; connected:\n  1  /bus/a\n  2  /bus/B" },
        { two, "/bus", "no interface /bus; connected:\n  1  /bus/a\n  2  /bus/B" },
        { none, "1", "no interface 1; none is connected" },
        { none, nullptr, "unavailable: no interface is connected" },
    };
    for (const auto& c : cases)
    {
        std::string result;
        const auto wanted = c.wanted != nullptr ? std::optional<std::string> (c.wanted) : std::nullopt;
        const auto message = refusal ([&] { result = std::to_string (ctl::choose_interface (c.paths, wanted)); });
        EXPECT_EQ (message.empty() ? result : message, c.result) << (c.wanted != nullptr ? c.wanted : "(none)");
    }
}
