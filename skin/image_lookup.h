#pragma once

#include <juce_graphics/juce_graphics.h>

// Turns an image reference of the skin ("resource::easy_png") into an image: a file of
// that name beside the program first, else the built-in table, else a null image.
juce::Image image_lookup (const juce::String& reference);

// The 2x render of a picture that image_lookup took from the built-in table, decoded when
// first asked for; a null image for any other picture (a file beside the program has none).
juce::Image double_size_render (const juce::Image& picture);

// The built-in table's reference texts, in row order.
const juce::StringArray& image_references();
