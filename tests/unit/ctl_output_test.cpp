// What veltrano-ctl says: the controls it reads from the skin, and list, show and set's
// lines as text and as JSON, which a JSON parser must read back as written.
#include "ctl/controls.h"
#include "ctl/help.h"
#include "ctl/json.h"
#include "ctl/program.h"
#include "ctl/report.h"
#include "app/skin_root.h"

#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

namespace
{
    std::vector<ctl::control> controls_of (const char* skin) { return ctl::read_controls (*juce::parseXML (skin)); }

    juce::var parsed_json (const std::string& text)
    {
        juce::var result;
        EXPECT_TRUE (juce::JSON::parse (juce::String::fromUTF8 (text.c_str()), result).wasOk()) << text;
        return result;
    }

    std::uint8_t block_of_steps[16] = { 7, 34, 5, 34, 3, 1, 1, 19, 0, 9, 255, 0, 255, 9, 8, 6 };
}

TEST (ctl_controls, the_skin_gives_twelve_named_controls_in_block_order)
{
    const auto controls = ctl::read_controls (*parse_skin());
    const struct
    {
        const char* name;
        std::uint32_t byte;
        bool is_switch;
        std::size_t choices;
        const char* first;
        int first_byte;
        const char* last;
        int last_byte;
    } expected[] = {
        { "output-12", 1, false, 40, "0 dB", 40, "mute", 1 },
        { "headset-12", 2, false, 31, "+6", 40, "mute", 1 },
        { "headset-34", 3, false, 31, "+6", 40, "mute", 1 },
        { "gain-1", 4, false, 20, "50.5", 20, "0 dB", 1 },
        { "gain-2", 5, false, 20, "50.5 (43)", 20, "0 dB", 1 },
        { "gain-34", 6, false, 20, "50.5", 20, "0 dB", 1 },
        { "gain-2-hi-z", 7, false, 20, "43", 20, "0 dB", 1 },
        { "monitoring", 8, true, 2, "on", 255, "off", 0 },
        { "hi-z", 9, true, 2, "on", 255, "off", 0 },
        { "phantom-1", 10, true, 2, "on", 255, "off", 0 },
        { "phantom-2", 11, true, 2, "on", 255, "off", 0 },
        { "headset-source", 12, true, 2, "1/2", 255, "3/4", 0 },
    };
    ASSERT_EQ (controls.size(), std::size (expected));
    for (std::size_t i = 0; i < controls.size(); ++i)
    {
        const auto& c = controls[i];
        const auto& e = expected[i];
        EXPECT_EQ (c.name, e.name);
        EXPECT_EQ (c.byte, e.byte) << e.name;
        EXPECT_EQ (c.is_switch, e.is_switch) << e.name;
        ASSERT_EQ (c.choices.size(), e.choices) << e.name;
        EXPECT_EQ (c.choices.front().text, e.first) << e.name;
        EXPECT_EQ (c.choices.front().byte, e.first_byte) << e.name;
        EXPECT_EQ (c.choices.back().text, e.last) << e.name;
        EXPECT_EQ (c.choices.back().byte, e.last_byte) << e.name;
    }
    EXPECT_EQ (controls[9].tooltip, "Turn 48V phantom power for channel 1 ON or OFF");
}

TEST (ctl_controls, any_skin_control_is_read_once_as_the_panel_reads_it)
{
    // Layout children other than info and update are controls, on every layout, once per
    // tag; a byte beyond the block, and a step that writes 0, are no use to set.
    const auto controls = controls_of (R"(<veltrano><device>
        <easy><info/><update/><phantom_power_1 id="10" min="1" max="2"/><New_Thing id="13"/></easy>
        <expert><phantom_power_1 id="3"/><far id="16"/><level_out12 id="0" menu="m"><gain step="256" item="x"/><gain step="1" item="a"/><gain item="b"/><gain step="0" item="c"/><gain step="255" item="d"/></level_out12></expert>
      </device></veltrano>)");
    ASSERT_EQ (controls.size(), 3u);
    EXPECT_EQ (controls[0].name, "output-12");
    EXPECT_EQ (controls[0].byte, 0u);
    ASSERT_EQ (controls[0].choices.size(), 2u);
    EXPECT_EQ (controls[0].choices[0].text, "a");
    EXPECT_EQ (controls[0].choices[1].byte, 255);
    EXPECT_EQ (controls[1].name, "phantom-1");
    EXPECT_EQ (controls[1].byte, 10u);
    EXPECT_EQ (controls[1].choices[0].byte, 1);
    EXPECT_EQ (controls[1].choices[1].byte, 2);
    EXPECT_EQ (controls[2].name, "new-thing");
    EXPECT_TRUE (controls[2].is_switch);
    EXPECT_TRUE (controls_of ("<veltrano/>").empty());

    // Two controls of one byte keep their document order.
    const auto same = controls_of (R"(<veltrano><device><easy><b_1 id="4"/><a_2 id="4"/><c_3 id="4"/><z id="1"/></easy></device></veltrano>)");
    ASSERT_EQ (same.size(), 4u);
    EXPECT_EQ (same[1].name + same[2].name + same[3].name, "b-1a-2c-3");
}

TEST (ctl_controls, a_switch_is_on_only_at_its_on_byte_and_a_menu_names_only_its_steps)
{
    const auto controls = ctl::read_controls (*parse_skin());
    const auto& phantom = controls[9];
    const auto& headset = controls[1];
    const struct
    {
        const ctl::control& c;
        std::uint8_t byte;
        std::string words;
    } cases[] = {
        { phantom, 255, "on" }, { phantom, 0, "off" }, { phantom, 7, "off" }, { phantom, 254, "off" },
        { headset, 11, "-69" }, { headset, 5, "#5" }, { headset, 0, "#0" }, { headset, 41, "#41" },
    };
    for (const auto& c : cases)
        EXPECT_EQ (ctl::value_text (c.c, c.byte), c.words) << c.c.name << " " << int (c.byte);
}

TEST (ctl_report, versions_lines_and_changes_as_text)
{
    EXPECT_EQ (ctl::version_text (0x01020300), "1.2.3");
    EXPECT_EQ (ctl::version_text (0xFF0A09EE), "255.10.9");

    const std::vector<ctl::interface_info> two { { 1, "/bus/a", 0x01010100, 0x01000400 }, { 2, "/bus/b", 0x01010000, 0x02000000 } };
    EXPECT_EQ (ctl::list_text ({}), "no interface is connected\n");
    EXPECT_EQ (ctl::list_text (two), "1  firmware 1.1.1  driver 1.0.4  /bus/a\n2  firmware 1.1.0  driver 2.0.0  /bus/b\n");

    const auto controls = ctl::read_controls (*parse_skin());
    const auto shown = ctl::show_text (two[0], controls, block_of_steps);
    const std::string lines[] = {
        "interface 1  firmware 1.1.1  driver 1.0.4  /bus/a\n"
        "name            value      byte  raw  tooltip\n"
        "output-12       -3            1   34  Set attenuation for output 1/2 (7.75dBu @ 0dB FS: 100Ohm output impedance)\n"
        "headset-12      #5            2    5  ",
        "\ngain-2-hi-z     42.5          7   19  ",
        "\nmonitoring      off           8    0  ",
        "\nphantom-1       on           10  255  Turn 48V phantom power for channel 1 ON or OFF\n",
        "\nheadset-source  1/2          12  255  Select headset source channels 1/2 or 3/4\n",
    };
    for (const auto& line : lines)
        EXPECT_NE (shown.find (line), std::string::npos) << line << "\nin:\n" << shown;
    EXPECT_EQ (std::count (shown.begin(), shown.end(), '\n'), 14);

    EXPECT_EQ (ctl::show_text (two[1], controls, nullptr),
               "interface 2  firmware 1.1.0  driver 2.0.0  /bus/b\n"
               "no controls: firmware older than 1.1.1 has no parameter block; update the firmware to use them\n");

    // Columns count characters, not bytes.
    const std::vector<ctl::control> wide { { "\xc3\xbc", 0, "t", true, { { 255, "\xc3\xa4" }, { 0, "o" } } } };
    const std::uint8_t on[16] = { 255 };
    EXPECT_NE (ctl::show_text (two[0], wide, on).find ("\n\xc3\xbc               \xc3\xa4             0  255  t\n"), std::string::npos);

    const std::vector<ctl::assignment> changes { { &controls[9], 255 }, { &controls[1], 1 }, { &controls[0], 34 } };
    EXPECT_EQ (ctl::change_lines (changes, block_of_steps), "phantom-1: on -> on\nheadset-12: #5 -> mute\noutput-12: -3 -> -3\n");
}

TEST (ctl_report, json_reads_back_as_written)
{
    const std::vector<ctl::interface_info> two { { 1, "C:\\bus\\\"a\"", 0x01010100, 0x01000400 }, { 2, "/bus/b", 0x01010000, 0x02000000 } };
    EXPECT_EQ (ctl::list_json ({}), "[]\n");
    const auto list = parsed_json (ctl::list_json (two));
    ASSERT_EQ (list.size(), 2);
    EXPECT_EQ (list[0]["index"], juce::var (1));
    EXPECT_EQ (list[0]["path"], juce::var ("C:\\bus\\\"a\""));
    EXPECT_EQ (list[0]["firmware"], juce::var ("1.1.1"));
    EXPECT_EQ (list[1]["driver"], juce::var ("2.0.0"));

    const auto controls = ctl::read_controls (*parse_skin());
    const auto show = parsed_json (ctl::show_json (two[0], controls, block_of_steps));
    EXPECT_EQ (show["interface"]["path"], list[0]["path"]);
    const auto* shown = show["controls"].getArray();
    ASSERT_NE (shown, nullptr);
    ASSERT_EQ (shown->size(), 12);
    const auto& hi_z = (*shown)[8];
    EXPECT_EQ (hi_z["name"], juce::var ("hi-z"));
    EXPECT_EQ (hi_z["value"], juce::var ("off")) << "a switch byte that is neither value shows off";
    EXPECT_EQ (hi_z["byte"], juce::var (9));
    EXPECT_EQ (hi_z["raw"], juce::var (9));
    EXPECT_EQ ((*shown)[9]["value"], juce::var ("on"));
    EXPECT_EQ (hi_z["tooltip"].toString(), juce::CharPointer_UTF8 ("Switch input 2 to Hi-Z instrument input (\xe2\x80\x9cguitar input\xe2\x80\x9d)"));
    EXPECT_TRUE ((*shown)[1]["value"].isVoid() || (*shown)[1]["value"].isUndefined()) << "no word for byte 5: null";

    const auto gated = parsed_json (ctl::show_json (two[1], controls, nullptr));
    EXPECT_EQ (gated["interface"]["index"], juce::var (2));
    EXPECT_EQ (gated["controls"].size(), 0);
    EXPECT_TRUE (gated["reason"].toString().startsWith ("no controls: firmware older than 1.1.1"));
}

TEST (ctl_report, json_strings_escape_what_json_must_and_keep_only_valid_utf8)
{
    const struct
    {
        std::string text, json;
    } cases[] = {
        { "", "\"\"" },
        { "a\"b\\c/", "\"a\\\"b\\\\c/\"" },
        { "\n\t\x1f ", "\"\\u000a\\u0009\\u001f \"" },
        { "\xe2\x80\x9cq\xe2\x80\x9d \xf0\x9f\x8e\xb8 \xc3\xbc", "\"\xe2\x80\x9cq\xe2\x80\x9d \xf0\x9f\x8e\xb8 \xc3\xbc\"" },
        { "a\xff", "\"a\\u00ff\"" },
        { "\x7f\x80", "\"\x7f\\u0080\"" }, // the last character of one byte, and the first byte that is none alone
        { "\xc3\xbc\xe2\x80", "\"\\u00c3\\u00bc\\u00e2\\u0080\"" }, // cut short at the end
        { "\xe2\x28\xa1", "\"\\u00e2(\\u00a1\"" },
        { "\xf8\x80\x80\x80\x80", "\"\\u00f8\\u0080\\u0080\\u0080\\u0080\"" },
    };
    for (const auto& c : cases)
        EXPECT_EQ (ctl::json_string (c.text), c.json);
}

TEST (ctl_help, lists_every_control_with_its_values)
{
    const auto controls = ctl::read_controls (*parse_skin());
    const auto help = ctl::help_text (controls);
    EXPECT_NE (help.find ("\n  phantom-1: on, off; or as a byte: 255, 0\n"), std::string::npos);
    EXPECT_NE (help.find ("\n  headset-source: 1/2, 3/4; or as a byte: 255, 0\n"), std::string::npos);
    EXPECT_NE (help.find ("\n  output-12: 0 dB, -0.5, "), std::string::npos);
}

TEST (ctl_program, out_of_memory_is_a_failure_in_words_not_a_crash)
{
    allocation_failure::scoped fail (1, sizeof (ctl::control)); // the first control read from the skin
    ::testing::internal::CaptureStderr();
    const int status = ctl::run ({ "--help" });
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE (fail.failed());
    EXPECT_EQ (status, 1);
#if ! defined(_WIN32) // there the tool writes through the system's handle, which gtest does not capture
    EXPECT_EQ (said, "veltrano-ctl: out of memory\n");
#endif
}
