#pragma once

#include <juce_core/juce_core.h>

// Attribute reads of the skin's elements. A skin may spell an attribute name in any
// letter case (SIZE reads like size), which JUCE's own attribute getters do not allow:
// each of these takes the first attribute whose name equals `name` ignoring case.

// The attribute's value, or nullptr when the element has no such attribute.
const juce::String* find_attribute (const juce::XmlElement& element, const juce::String& name);

bool has_attribute (const juce::XmlElement& element, const juce::String& name);

// The attribute's text, even when empty; `fallback` when the attribute is missing.
juce::String string_attribute (const juce::XmlElement& element, const juce::String& name,
                               const juce::String& fallback = {});

// Integer attributes: an optional sign and leading decimal digits, garbage 0; a missing
// attribute gives `fallback`. The device page and its controls read them with strtol,
// the style, label and about page as JUCE does (atoi). The two differ only on a number
// that does not fit: strtol clamps it, the Windows atoi wraps it.
int integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback = 0);
int juce_integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback);

