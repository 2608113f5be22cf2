#pragma once

#include <juce_core/juce_core.h>

// An integer attribute as the C library reads it: leading decimal digits, garbage 0.
// A missing attribute gives `fallback`.
int integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback = 0);
