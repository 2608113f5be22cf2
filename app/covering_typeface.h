#pragma once

#include <juce_graphics/juce_graphics.h>

// An installed typeface that has a glyph for every one of `letters`, or null when none has
// them all or there are no letters. For a translation whose own typeface this system lacks:
// JUCE on Linux draws a letter its typeface lacks as an empty box and looks no further.
// Fonts JUCE does not list itself (collections, .ttc) are loaded from their files.
juce::Typeface::Ptr covering_typeface (const juce::String& letters);

// The letters a translation table shows beyond ASCII, each once.
juce::String letters_beyond_ascii (const juce::LocalisedStrings& table);
