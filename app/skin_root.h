#pragma once

#include <juce_core/juce_core.h>
#include <memory>

// The parsed skin document's root element, or nullptr when nothing parses.
std::unique_ptr<juce::XmlElement> parse_skin();
