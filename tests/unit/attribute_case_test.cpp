// Skin attribute names in any letter case: a skin written SIZE must read like size.
#include <gtest/gtest.h>

#include "app/style.h"
#include "skin/image_lookup.h"
#include "ui/about.h"
#include "ui/attribute.h"
#include "ui/button.h"
#include "ui/label.h"

#include <cstdlib>

namespace
{
    std::unique_ptr<juce::XmlElement> element (const char* xml)
    {
        return juce::parseXML (juce::String (xml));
    }
}

TEST (attribute_case, lookups_take_the_first_name_equal_ignoring_case)
{
    auto e = element ("<e Size=\"7\" SIZE=\"9\" Empty=\"\" NUMBER=\"+12\" Huge=\"99999999999\"/>");
    ASSERT_NE (find_attribute (*e, "size"), nullptr);
    EXPECT_EQ (*find_attribute (*e, "size"), "7");
    EXPECT_EQ (find_attribute (*e, "siz"), nullptr);
    EXPECT_TRUE (has_attribute (*e, "EMPTY"));
    EXPECT_FALSE (has_attribute (*e, "absent"));

    // Present but empty stays empty; only a missing one takes the fallback.
    EXPECT_EQ (string_attribute (*e, "empty", "fallback"), "");
    EXPECT_EQ (string_attribute (*e, "absent", "fallback"), "fallback");
    EXPECT_EQ (integer_attribute (*e, "empty", 5), 0);
    EXPECT_EQ (integer_attribute (*e, "absent", 5), 5);

    // Each class keeps its number rule; they part only where a number overflows.
    EXPECT_EQ (integer_attribute (*e, "number"), 12);
    EXPECT_EQ (juce_integer_attribute (*e, "number", 3), 12);
    EXPECT_EQ (juce_integer_attribute (*e, "absent", 3), 3);
    EXPECT_EQ (integer_attribute (*e, "huge"), static_cast<int> (std::strtol ("99999999999", nullptr, 10)));
    EXPECT_EQ (juce_integer_attribute (*e, "huge", 3), juce::String ("99999999999").getIntValue());
}

TEST (attribute_case, style_reads_size_and_colours_in_capitals)
{
    auto e = element ("<style SIZE=\"14\" Typeface.Windows=\"\">"
                      "<Label ID=\"text\" ARGB=\"4294901760\"/>"
                      "<TooltipWindow Id=\"background\" Argb=\"4278190335\"/>"
                      "</style>");
    style look (*e);
    EXPECT_EQ (look.getPopupMenuFont().getHeight(), 14.0f);
    EXPECT_EQ (look.findColour (juce::Label::textColourId).getARGB(), 0xFFFF0000u);
    EXPECT_EQ (look.findColour (juce::TooltipWindow::backgroundColourId).getARGB(), 0xFF0000FFu);
}

TEST (attribute_case, label_is_placed_coloured_and_titled_in_capitals)
{
    auto e = element ("<info X=\"26\" Y=\"22\" W=\"153\" H=\"9\" SIZE=\"20\" ARGB=\"4294967295\""
                      " TEXT=\"From the skin\" ToolTip=\"Version\"/>");
    label line (*e, "Driver 1.2", 475, 182);
    EXPECT_EQ (line.getBounds(), juce::Rectangle<int> (26, 22, 153, 9));
    EXPECT_EQ (line.getFont().getHeight(), 20.0f);
    EXPECT_EQ (line.findColour (juce::Label::textColourId), juce::Colours::white);
    EXPECT_EQ (line.getText(), "From the skin");
    EXPECT_EQ (line.getTooltip(), "Version");
}

TEST (attribute_case, about_places_its_update_button_in_capitals)
{
    auto e = element ("<about BACKGROUND=\"resource::about_png\">"
                      "<update X=\"194\" Y=\"12\" URL=\"https://example.invalid/\" OFF=\"resource::about_download_off_png\""
                      " TOOLTIP=\"Download\"/></about>");
    about page (*e);
    juce::ImageButton* update = nullptr;
    for (auto* child : page.getChildren())
        if (auto* b = dynamic_cast<juce::ImageButton*> (child))
            update = b;
    ASSERT_NE (update, nullptr);
    EXPECT_EQ (update->getPosition(), juce::Point<int> (194, 12));
    EXPECT_EQ (update->getName(), "https://example.invalid/");
    EXPECT_EQ (update->getTooltip(), "Download");
    EXPECT_GT (update->getWidth(), 0);
    EXPECT_EQ (update->getWidth(), image_lookup ("resource::about_download_off_png").getWidth());
}

TEST (attribute_case, gain_menu_reads_header_steps_and_items_in_capitals)
{
    auto e = element ("<c Menu=\"Levels\"><gain STEP=\"5\" Item=\"-3\"/></c>");
    juce::PopupMenu menu;
    button::fill_menu (menu, *e);
    juce::PopupMenu::MenuItemIterator items (menu);
    ASSERT_TRUE (items.next());
    EXPECT_TRUE (items.getItem().isSectionHeader);
    EXPECT_EQ (items.getItem().text, "Levels");
    ASSERT_TRUE (items.next());
    EXPECT_EQ (items.getItem().itemID, 5);
    EXPECT_EQ (items.getItem().text, "-3");
}
