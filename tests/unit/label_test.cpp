#include <gtest/gtest.h>

#include "skin/translation_tables.h"
#include "tests/support/file_beside_program.h"
#include "ui/label.h"

namespace
{
    std::unique_ptr<juce::XmlElement> element (const char* xml)
    {
        return juce::parseXML (juce::String (juce::CharPointer_UTF8 (xml)));
    }
}

TEST (label, element_attributes_override_the_creators_defaults)
{
    auto info = element ("<info x=\"26\" y=\"22\" w=\"153\" h=\"9\" size=\"20\" text=\"From the skin\"/>");
    label line (*info, "Driver 1.2", 475, 182);
    EXPECT_EQ (line.getBounds(), juce::Rectangle<int> (26, 22, 153, 9));
    EXPECT_EQ (line.getFont().getHeight(), 20.0f);
    EXPECT_EQ (line.getText(), "From the skin");
    EXPECT_EQ (line.getName(), "Driver 1.2");
    // No argb: the colour is left to the look-and-feel.
    EXPECT_FALSE (line.isColourSpecified (juce::Label::textColourId));
}

TEST (label, colours_keep_their_alpha_byte)
{
    auto white = element ("<info argb=\"4294967295\"/>");
    auto clear_red = element ("<info argb=\"16711680\"/>");
    auto junk = element ("<info argb=\"not a colour\"/>");
    auto huge = element ("<info argb=\"1e300\"/>");
    EXPECT_EQ (label (*white, "", 1, 1).findColour (juce::Label::textColourId), juce::Colours::white);
    EXPECT_EQ (label (*clear_red, "", 1, 1).findColour (juce::Label::textColourId).getARGB(), 0x00FF0000u);
    EXPECT_EQ (label (*junk, "", 1, 1).findColour (juce::Label::textColourId).getARGB(), 0u);
    EXPECT_TRUE (label (*huge, "", 1, 1).isColourSpecified (juce::Label::textColourId));
}

TEST (label, tooltip_is_translated_and_the_element_is_kept)
{
    scoped_translation german (translation_tables::german());
    auto info = element ("<info tooltip=\"Displays current driver and firmware version information\"/>");
    label line (*info, "x", 153, 9);
    info.reset();   // the label keeps its own copy
    EXPECT_EQ (line.getTooltip(), juce::String (juce::CharPointer_UTF8 ("Zeigt die aktuellen Versionen von Treiber und Firmware an")));
    EXPECT_EQ (line.getStringAttribute ("tooltip"), "Displays current driver and firmware version information");
    EXPECT_EQ (line.getBounds(), juce::Rectangle<int> (0, 0, 153, 9));
}
