#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

class window : public juce::XmlElement, public juce::DocumentWindow
{
public:
    explicit window (const juce::XmlElement& root);
    ~window() override;

    void closeButtonPressed() override;

private:
    juce::TabbedComponent tabs { juce::TabbedButtonBar::TabsAtTop };
    juce::TooltipWindow tooltips;
};
