#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

// What every page (about, device) does with its picture: paint it at its own size, and when
// the page is shown make the tabbed component around it exactly picture plus tab bar.
void paint_page_picture (juce::Graphics& g, const juce::Image& picture);
void fit_tabs_to_page_picture (juce::Component& page, const juce::Image& picture);
