#pragma once

#include "ui/about.h"

#include <juce_gui_basics/juce_gui_basics.h>

// The tabbed body of the main window: one tab per interface (to come) and the About tab last.
class container : public juce::XmlElement, public juce::TabbedComponent
{
public:
    explicit container (const juce::XmlElement& root);
    ~container() override;

private:
    ::about about;
};
