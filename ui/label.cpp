#include "ui/label.h"
#include "ui/argb_colour.h"
#include "ui/attribute.h"

label::label (const juce::XmlElement& element, const juce::String& text, int defaultWidth, int defaultHeight)
    : juce::XmlElement (element),
      juce::Label (text, string_attribute (element, "text", text))
{
    setJustificationType (juce::Justification::centred);
    setFont (juce::Font ((float) juce_integer_attribute (*this, "size", 12)));

    const int h = juce_integer_attribute (*this, "h", defaultHeight);
    const int w = juce_integer_attribute (*this, "w", defaultWidth);
    const int y = juce_integer_attribute (*this, "y", 0);
    const int x = juce_integer_attribute (*this, "x", 0);
    setBounds (x, y, w, h);

    setTooltip (juce::translate (string_attribute (*this, "tooltip")));

    if (has_attribute (*this, "argb"))
        setColour (juce::Label::textColourId, argb_colour (string_attribute (*this, "argb")));
}

label::~label() = default;
