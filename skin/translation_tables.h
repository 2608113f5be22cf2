#pragma once

#include <juce_core/juce_core.h>

// The translation tables compiled into the program, in JUCE's LocalisedStrings format.
namespace translation_tables
{
    juce::String chinese();
    juce::String german();
    juce::String spanish();
    juce::String russian();
}
