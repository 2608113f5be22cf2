#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <vector>

// Readies a page for the keyboard and for screen readers once its controls stand: Tab and
// Shift+Tab stay within the page and go through its buttons in reading order, only buttons
// that can be seen take the focus, and every control is named by its tooltip.
void make_accessible (juce::Component& page);

// Rows from top to bottom, left to right within a row. A component joins the row of the
// topmost one not yet placed when its vertical middle lies within that one's height.
std::vector<juce::Component*> reading_order (std::vector<juce::Component*> components);
