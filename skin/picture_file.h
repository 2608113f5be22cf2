#pragma once

#include <juce_graphics/juce_graphics.h>

// Loads a picture file that someone put beside the program. The skin's pictures are PNGs,
// and only a PNG is taken; anything else, or a PNG that does not decode, gives a null
// image. The PNG is decoded here rather than by JUCE, whose reader, built against the
// system libpng, jumps into a dead stack frame on a damaged file.
//
// A file may cost no more than a picture of `max_pixels` pixels: one whose header declares
// more is refused before anything is decoded, and one longer than those pixels would be
// uncompressed at 16 bits a channel (8 bytes each), plus picture_metadata_allowance for
// colour profiles and text, is refused unread.
juce::Image load_picture_file (const juce::File& file, unsigned long long max_pixels);

constexpr juce::int64 picture_metadata_allowance = 1 << 20;
