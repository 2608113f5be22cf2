#pragma once

#include "ui/container.h"
#include "ui/message_boundary.h"
#include "ui/keyboard.h"

#include <juce_gui_basics/juce_gui_basics.h>

// The program's only top-level window: the container under a 19-pixel title bar with a
// close button, the program's tooltip window and its keyboard use.
class window : public juce::XmlElement, public juce::DocumentWindow
{
public:
    explicit window (const juce::XmlElement& root);
    ~window() override;

    void closeButtonPressed() override;
    // No frame around the content: the client area is exactly the container, whatever size
    // its page gives it.
    juce::BorderSize<int> getBorderThickness() override;

private:
    message_boundary boundary { *this };
    ::container content;
    juce::TooltipWindow tooltips;
    ::keyboard keys;
};
