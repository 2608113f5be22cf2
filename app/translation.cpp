#include "app/translation.h"
#include "app/user_language.h"
#include "skin/program_folder.h"
#include "skin/translation_tables.h"

namespace
{
    struct built_in_row
    {
        const char* name;
        juce::String (*table)();
    };

    // Spanish and Russian are carried but have no row: only a file beside the program
    // serves them.
    const built_in_row built_in[] = {
        { "chn_localization", translation_tables::chinese },
        { "ger_localization", translation_tables::german },
    };

    // JUCE's table grows by a linear search per entry, so a huge file would freeze start-up
    // for minutes (1 MB: seconds; 50 MB: hours). A real table is a few kilobytes; a file
    // beyond this size is taken as one in which nothing parses.
    constexpr juce::int64 largest_table_file = 256 * 1024;

    std::unique_ptr<juce::LocalisedStrings> load_table_file (const juce::File& file)
    {
        if (file.getSize() > largest_table_file)
            return std::make_unique<juce::LocalisedStrings> (juce::String(), true);
        return std::make_unique<juce::LocalisedStrings> (file, true);
    }
}

juce::String language_word (const juce::String& commandLine)
{
    const int option = commandLine.indexOfIgnoreCase ("lang ");
    if (option < 0)
        return {};
    return commandLine.substring (option + 5).upToFirstOccurrenceOf (" ", false, false);
}

std::unique_ptr<juce::LocalisedStrings> chosen_translation (const juce::String& commandLine)
{
    auto word = language_word (commandLine);
    if (word.isEmpty())
        word = user_language();

    const juce::File file (program_folder() + word + ".localization");
    if (file.exists())
        return load_table_file (file);

    const auto name = word + "_localization";
    for (auto row = std::rbegin (built_in); row != std::rend (built_in); ++row)
        if (name == row->name)
            return std::make_unique<juce::LocalisedStrings> (row->table(), true);
    return nullptr;
}
