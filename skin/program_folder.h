#pragma once

#include <juce_core/juce_core.h>

// The running executable's folder, with a trailing separator.
const juce::String& program_folder();
