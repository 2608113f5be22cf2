#include "app/user_language.h"

#include <cstdlib>

juce::String language_of_locale (const juce::String& locale)
{
    const auto language = locale.upToFirstOccurrenceOf ("_", false, false)
                                .upToFirstOccurrenceOf (".", false, false)
                                .upToFirstOccurrenceOf ("@", false, false);
    // ISO 639 codes are two or three letters; "C" and "POSIX" are not languages.
    const bool code = language.length() >= 2 && language.length() <= 3
                   && language.containsOnly ("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
    return code ? language.toLowerCase() : juce::String ("en");
}

juce::String user_language()
{
#if defined(_WIN32)
    const auto language = juce::SystemStats::getUserLanguage();
    return language.isEmpty() ? juce::String ("en") : language;
#else
    // JUCE names the language here ("German"), not its code: read the locale as the C
    // library does, where an empty variable counts as unset.
    for (const char* variable : { "LC_ALL", "LC_MESSAGES", "LANG" })
        if (const char* value = std::getenv (variable); value != nullptr && *value != '\0')
            return language_of_locale (juce::String::fromUTF8 (value));
    return "en";
#endif
}
