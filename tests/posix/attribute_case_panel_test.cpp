// Controls and the device page against a virtual interface, with their attribute
// names spelt in capitals: they read like the lower-case ones.
#include "skin/image_lookup.h"
#include "tests/support/virtual_interface.h"
#include "ui/button.h"
#include "ui/view.h"

#include <gtest/gtest.h>

TEST (attribute_case, switch_reads_id_min_and_max_in_any_case)
{
    temporary_bus bus;
    virtual_interface vi (bus, "a", { "--block", "0 0 0 0 0 0 0 0 0 0 0 0 0 3 0 0" });
    qv::driver<os_result, device> list;
    auto element = juce::parseXML ("<highz ID=\"13\" Min=\"3\" mAX=\"260\"/>");
    button highz (*element, *list.front());

    EXPECT_EQ (highz.parameter(), 13u);
    EXPECT_EQ (highz.on_value(), 3);
    EXPECT_EQ (highz.off_value(), 4); // 260 keeps its low byte
    EXPECT_TRUE (highz.getToggleState());

    highz.clicked();
    EXPECT_FALSE (highz.getToggleState());
    EXPECT_EQ (vi.block()[13], 4);
    highz.clicked();
    EXPECT_EQ (vi.block()[13], 3);
}

TEST (attribute_case, device_page_reads_startup_layout_and_mode_button_in_any_case)
{
    temporary_bus bus;
    virtual_interface vi (bus, "a");
    qv::driver<os_result, device> list;
    auto element = juce::parseXML ("<device STARTUP=\"expert\"><easy/>"
                                   "<expert BACKGROUND=\"resource::expert_png\" ALTERNATE=\"easy\" X=\"5\" Y=\"6\""
                                   " TOOLTIP=\"Switch\" OFF=\"resource::easy_off_png\">"
                                   "<update URL=\"https://example.invalid/\" X=\"7\" Y=\"8\"/>"
                                   "<ctrl ID=\"2\"/></expert></device>");
    view page (*element, *list.front());

    EXPECT_EQ (page.picture().getBounds(), image_lookup ("resource::expert_png").getBounds());
    EXPECT_EQ (page.mode_button().getName(), "easy");
    EXPECT_EQ (page.mode_button().getPosition(), juce::Point<int> (5, 6));
    EXPECT_EQ (const_cast<juce::ImageButton&> (page.mode_button()).getTooltip(), "Switch");
    EXPECT_EQ (page.mode_button().getWidth(), image_lookup ("resource::easy_off_png").getWidth());
    EXPECT_EQ (page.update_button().getName(), "https://example.invalid/");
    EXPECT_EQ (page.update_button().getPosition(), juce::Point<int> (7, 8));
    ASSERT_EQ (page.size(), 1u);
    EXPECT_EQ (page[0]->parameter(), 2u);
}
