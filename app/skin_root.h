#pragma once

#include <juce_core/juce_core.h>
#include <memory>

// The skin document's root element: of `document`, the compiled-in skin unless told
// otherwise. Throws qv::invalid_data() when nothing parses.
std::unique_ptr<juce::XmlElement> parse_skin (const char* document = nullptr);
