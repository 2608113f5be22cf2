#pragma once

#include <juce_core/juce_core.h>
#include <memory>

// The language word of a command line: what follows the first "lang " (in any letter case)
// up to the next space. Empty when there is no such option.
juce::String language_word (const juce::String& commandLine);

// The translation a command line asks for: a file "<word>.localization" beside the program
// wins, else a built-in table whose row name is exactly "<word>_localization", else none
// (nullptr: every text stays English). Without a word the user's language is the word.
std::unique_ptr<juce::LocalisedStrings> chosen_translation (const juce::String& commandLine);
