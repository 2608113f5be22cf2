#pragma once

#include <juce_graphics/juce_graphics.h>

// Loads a picture file that someone put beside the program. The skin's pictures are PNGs,
// and only a PNG is taken; anything else, or a PNG that does not decode, gives a null
// image. The PNG is decoded here rather than by JUCE, whose reader, built against the
// system libpng, jumps into a dead stack frame on a damaged file.
juce::Image load_picture_file (const juce::File& file);
