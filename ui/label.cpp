#include "ui/label.h"
#include "ui/argb_colour.h"

label::label (const juce::XmlElement& element, const juce::String& text, int defaultWidth, int defaultHeight)
    : juce::XmlElement (element),
      juce::Label (text, element.getStringAttribute ("text", text))
{
    setJustificationType (juce::Justification::centred);
    setFont (juce::Font ((float) getIntAttribute ("size", 12)));

    const int h = getIntAttribute ("h", defaultHeight);
    const int w = getIntAttribute ("w", defaultWidth);
    const int y = getIntAttribute ("y", 0);
    const int x = getIntAttribute ("x", 0);
    setBounds (x, y, w, h);

    setTooltip (juce::translate (getStringAttribute ("tooltip")));

    if (hasAttribute ("argb"))
        setColour (juce::Label::textColourId, argb_colour (getStringAttribute ("argb")));
}

label::~label() = default;
