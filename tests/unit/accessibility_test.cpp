// Pages built from the real skin as a screen reader meets them, through the handlers JUCE
// would hand it, and in the order the keyboard goes through them.
#include "app/skin_root.h"
#include "skin/translation_tables.h"
#include "tests/support/file_beside_program.h"
#include "tests/support/message_loop.h"
#include "tests/support/scripted_menu.h"
#include "tests/support/test_interface.h"
#include "ui/about.h"
#include "ui/accessibility.h"
#include "ui/focus_ring.h"
#include "ui/page_access.h"
#include "ui/view.h"

#include <gtest/gtest.h>

namespace
{
    using juce::AccessibilityActionType;
    using juce::AccessibilityRole;
    using names = std::vector<juce::String>;

    names keyboard_order (juce::Component& page)
    {
        names found;
        for (auto* c : juce::KeyboardFocusTraverser().getAllComponents (&page))
            found.push_back (c->getName());
        return found;
    }

    button& control (view& page, const juce::String& name)
    {
        return **std::find_if (page.begin(), page.end(), [&] (const button* b) { return b->getName() == name; });
    }

    void flip (view& page) { page.buttonClicked (const_cast<juce::ImageButton*> (&page.mode_button())); }

    juce::String value_of (juce::AccessibilityHandler& h) { return h.getValueInterface()->getCurrentValueAsString(); }
}

class accessible_page : public ::testing::Test
{
protected:
    std::unique_ptr<juce::XmlElement> root = parse_skin();
    const juce::XmlElement& device_element() { return *root->getChildByName ("device"); }
};

TEST_F (accessible_page, easy_page_in_reading_order_with_translated_titles_and_switch_states)
{
    scoped_translation german (translation_tables::german());
    test_interface plugged ({ { 10, 255 }, { 11, 7 } });
    view page (device_element(), plugged.device());

    EXPECT_EQ (keyboard_order (page), (names { page.update_button().getName(), "expert", "phantom_power_1", "phantom_power_2", "highz", "headphone", "monitoring" }));

    const struct { const char* name; bool on; } switches[] = { { "phantom_power_1", true }, { "phantom_power_2", false }, { "monitoring", false } };
    for (auto& s : switches)
    {
        SCOPED_TRACE (s.name);
        const auto h = control (page, s.name).createAccessibilityHandler();
        EXPECT_EQ (h->getRole(), AccessibilityRole::toggleButton);
        EXPECT_TRUE (h->getCurrentState().isCheckable());
        EXPECT_EQ (h->getCurrentState().isChecked(), s.on);
        EXPECT_EQ (value_of (*h), s.on ? "Ein" : "Aus");
    }
    EXPECT_EQ (control (page, "phantom_power_1").createAccessibilityHandler()->getTitle(),
               juce::CharPointer_UTF8 ("Schaltet die 48V-Phantomspeisung f\xc3\xbcr Kanal 1 EIN oder AUS"));

    const auto version = const_cast<label*> (page.information())->createAccessibilityHandler();
    EXPECT_EQ (version->getRole(), AccessibilityRole::staticText);
    EXPECT_EQ (version->getTitle(), "Zeigt die aktuellen Versionen von Treiber und Firmware an");
    EXPECT_EQ (value_of (*version), "Treiber:1.0.4 Firmware: 1.1.1");
    EXPECT_TRUE (version->getValueInterface()->isReadOnly());
}

TEST_F (accessible_page, a_gain_control_opens_a_menu_and_reads_its_step_item)
{
    test_interface plugged ({ { 1, 34 }, { 2, 1 }, { 3, 5 }, { 5, 20 }, { 7, 18 } });
    view page (device_element(), plugged.device());
    flip (page);

    EXPECT_EQ (keyboard_order (page), (names { page.update_button().getName(), "easy", "phantom_power_1", "input_gain1", "phantom_power_2",
                                               "input_gain2", "highz", "level_out12", "monitoring", "input_gain2_hi_z",
                                               "level_phones12", "input_gain34", "level_phones34", "headphone" }));
    const struct { const char* name; const char* value; } gains[] = {
        { "level_out12", "-3" }, { "level_phones12", "mute" }, { "level_phones34", "5" /* no item has step 5 */ },
        { "input_gain2", "50.5 (43)" }, { "input_gain2_hi_z", "42.5" }, { "input_gain1", "0" },
    };
    for (auto& g : gains)
    {
        SCOPED_TRACE (g.name);
        const auto h = control (page, g.name).createAccessibilityHandler();
        EXPECT_EQ (h->getRole(), AccessibilityRole::button);
        EXPECT_TRUE (h->getCurrentState().isExpandable());
        EXPECT_TRUE (h->getActions().contains (AccessibilityActionType::showMenu));
        EXPECT_EQ (value_of (*h), g.value);
    }
}

TEST_F (accessible_page, press_actions_click_and_only_changed_values_are_announced)
{
    test_interface plugged ({ { 1, 40 }, { 2, 40 } });
    view page (device_element(), plugged.device());
    names announced;
    const auto previous = std::exchange (accessibility::value_changed, [&] (juce::Component& c) { announced.push_back (c.getName()); });
    {
        // A handler goes before its control, which the layout switch below deletes.
        const auto phantom = control (page, "phantom_power_1").createAccessibilityHandler();
        phantom->getActions().invoke (AccessibilityActionType::press);
        EXPECT_TRUE (pump_until ([&] { return plugged.block()[10] == 255; }, 3000));
        EXPECT_TRUE (phantom->getCurrentState().isChecked());
    }
    flip (page);
    announced.clear();
    scripted_menu menu (34); // "-3"
    auto& out12 = control (page, "level_out12");
    out12.createAccessibilityHandler()->getActions().invoke (AccessibilityActionType::showMenu);
    EXPECT_TRUE (pump_until ([&] { return plugged.block()[1] == 34 && ! announced.empty(); }, 3000));
    EXPECT_EQ (menu.at, std::vector<juce::Component*> { &out12 }) << "opened at the control, the mouse being elsewhere";
    EXPECT_EQ (announced, names { "level_out12" });
    EXPECT_EQ (plugged.block()[10], 255) << "the rest of the block stays";
    accessibility::value_changed = previous;
}

TEST_F (accessible_page, a_disabled_page_says_why_in_the_translation_in_force)
{
    test_interface plugged ({}, "1.1.0");
    view page (device_element(), plugged.device());
    EXPECT_TRUE (keyboard_order (page).empty()) << "its update button has no picture, so no focus";

    const auto english = page.createAccessibilityHandler()->getTitle();
    EXPECT_TRUE (english.contains ("1.1.1")) << english;
    const std::pair<juce::String (*)(), const char*> tables[] = {
        { translation_tables::german, "Die Firmware" }, { translation_tables::chinese, "\xe6\xad\xa4\xe6\x8e\xa5\xe5\x8f\xa3" },
        { translation_tables::spanish, "El firmware" }, { translation_tables::russian, "\xd0\x9f\xd1\x80\xd0\xbe\xd1\x88\xd0\xb8\xd0\xb2\xd0\xba\xd0\xb0" },
    };
    for (auto& [table, start] : tables)
    {
        scoped_translation language (table());
        const auto title = page.createAccessibilityHandler()->getTitle();
        EXPECT_TRUE (title.startsWith (juce::CharPointer_UTF8 (start))) << title;
        EXPECT_TRUE (title.contains ("1.1.1")) << title;
    }
    scoped_translation own ("language:Mine\n\"" + english + "\" = \"Too old\"\n");
    EXPECT_EQ (page.createAccessibilityHandler()->getTitle(), "Too old");
}

TEST_F (accessible_page, about_page_offers_its_update_button_named_by_its_tooltip)
{
    about page (*root->getChildByName ("about"));
    const auto focusable = juce::KeyboardFocusTraverser().getAllComponents (&page);
    ASSERT_EQ (focusable.size(), 1u);
    EXPECT_EQ (focusable[0]->getTitle(), "Check available software updates.");
}

TEST (reading_order, a_middle_on_the_bottom_edge_starts_the_next_row)
{
    juce::Component top, lower, level;
    top.setBounds (20, 0, 10, 10);   // bottom 10
    lower.setBounds (0, 5, 10, 10);  // middle 10: next row
    level.setBounds (40, 4, 10, 10); // middle 9: same row
    EXPECT_EQ (reading_order ({ &lower, &level, &top }), (std::vector<juce::Component*> { &top, &level, &lower }));
}

TEST (focus_ring, lets_the_mouse_reach_the_control_it_surrounds)
{
    juce::Component page, control;
    page.setBounds (0, 0, 100, 100);
    page.setVisible (true);
    control.setBounds (10, 10, 20, 20);
    page.addAndMakeVisible (control);
    focus_ring ring (control);
    ASSERT_EQ (ring.getParentComponent(), &page);
    EXPECT_EQ (page.getComponentAt (20, 20), &control);
}
