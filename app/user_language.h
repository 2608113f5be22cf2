#pragma once

#include <juce_core/juce_core.h>

// The two-letter ISO 639 code of the user's language, "en" when the system names none.
// Windows asks the system for its user locale; elsewhere the locale is the one the C library
// takes for messages (LC_ALL, then LC_MESSAGES, then LANG).
juce::String user_language();

// The language of a POSIX locale name: "de_DE.UTF-8" gives "de". "C", "POSIX", an empty name
// and a name without a language code give "en".
juce::String language_of_locale (const juce::String& locale);
