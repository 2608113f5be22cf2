#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

// A one-line, read-only text placed by its skin element. `text` names the component and is
// shown unless the element carries a `text` attribute.
class label : public juce::XmlElement, public juce::Label
{
public:
    label (const juce::XmlElement& element, const juce::String& text, int defaultWidth, int defaultHeight);
    ~label() override;

    // The shown text, not the element's text content.
    using juce::Label::getText;

    // Read-only text for screen readers (ui/accessibility.cpp).
    std::unique_ptr<juce::AccessibilityHandler> createAccessibilityHandler() override;
};
