#pragma once

#include <juce_graphics/juce_graphics.h>

// Turns an image reference of the skin ("resource::easy_png") into an image: a file of
// that name beside the program first, else the built-in table, else a null image.
juce::Image image_lookup (const juce::String& reference);

// The built-in table's reference texts, in row order.
const juce::StringArray& image_references();
