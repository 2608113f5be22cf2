#pragma once

#include <juce_graphics/juce_graphics.h>

// Loads a picture file that someone put beside the program. A PNG is decoded by libpng's
// own guarded reader, because JUCE's reader, built against the system libpng, jumps into a
// dead stack frame on a damaged file; other formats go to JUCE. Anything that does not
// decode gives a null image.
juce::Image load_picture_file (const juce::File& file);
