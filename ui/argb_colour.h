#pragma once

#include <juce_graphics/juce_graphics.h>

// A skin colour: unsigned decimal ARGB text. It goes through a double because values
// above 2147483647 (every opaque colour) do not fit a signed 32-bit parse.
juce::Colour argb_colour (const juce::String& text);
