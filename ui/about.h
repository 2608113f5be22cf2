#pragma once

#include "ui/label.h"

#include <juce_gui_basics/juce_gui_basics.h>

// The About page: its picture, the product's version and copyright line, and a button that
// opens the maker's download page.
class about : public juce::XmlElement,
              public juce::Component,
              public juce::Button::Listener
{
public:
    explicit about (const juce::XmlElement& element);
    ~about() override;

    void visibilityChanged() override;
    void paint (juce::Graphics& g) override;
    void buttonClicked (juce::Button* b) override;

    // The fixed information line, product name and version first.
    static juce::String information();

private:
    // JUCE's Image is final, so the picture is the first member rather than a base.
    juce::Image background;
    label info;
    juce::ImageButton update;
};
