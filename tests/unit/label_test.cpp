#include <gtest/gtest.h>

#include "ui/label.h"

namespace
{
    std::unique_ptr<juce::XmlElement> element (const char* xml) { return juce::parseXML (juce::String (juce::CharPointer_UTF8 (xml))); }
}

// The tooltip's translation is checked through the version line in accessibility_test.
TEST (label, element_attributes_override_the_creators_defaults_and_the_element_is_kept)
{
    auto info = element ("<info x=\"26\" y=\"22\" w=\"153\" h=\"9\" size=\"20\" text=\"From the skin\"/>");
    label line (*info, "Driver 1.2", 475, 182);
    EXPECT_EQ (line.getBounds(), juce::Rectangle<int> (26, 22, 153, 9));
    EXPECT_EQ (line.getFont().getHeight(), 20.0f);
    EXPECT_EQ (line.getText(), "From the skin");
    EXPECT_EQ (line.getName(), "Driver 1.2");
    // No argb: the colour is left to the look-and-feel.
    EXPECT_FALSE (line.isColourSpecified (juce::Label::textColourId));

    info = element ("<info tooltip=\"Shown\"/>");
    label bare (*info, "x", 153, 9);
    info.reset(); // the label keeps its own copy
    EXPECT_EQ (bare.getStringAttribute ("tooltip"), "Shown");
    EXPECT_EQ (bare.getTooltip(), "Shown");
    EXPECT_EQ (bare.getBounds(), juce::Rectangle<int> (0, 0, 153, 9));
    EXPECT_EQ (bare.getText(), "x");
}

TEST (label, colours_keep_their_alpha_byte)
{
    const struct { const char* xml; juce::uint32 argb; } cases[] = {
        { "<info argb=\"4294967295\"/>", 0xFFFFFFFFu }, { "<info argb=\"16711680\"/>", 0x00FF0000u }, { "<info argb=\"not a colour\"/>", 0u },
    };
    for (auto& c : cases)
        EXPECT_EQ (label (*element (c.xml), "", 1, 1).findColour (juce::Label::textColourId).getARGB(), c.argb) << c.xml;
    EXPECT_TRUE (label (*element ("<info argb=\"1e300\"/>"), "", 1, 1).isColourSpecified (juce::Label::textColourId));
}
