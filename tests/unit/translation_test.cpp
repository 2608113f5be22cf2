#include <gtest/gtest.h>

#include "app/translation.h"
#include "tests/support/file_beside_program.h"

#include <chrono>

namespace
{
    // What the program shows for "About" once this command line has chosen its translation.
    juce::String about_under (const juce::String& commandLine)
    {
        scoped_translation installed (chosen_translation (commandLine).release());
        return juce::translate ("About");
    }

    const juce::String uber (juce::CharPointer_UTF8 ("\xc3\x9c" "ber"));
}

TEST (language_word, is_the_word_after_the_first_lang_option_in_any_letter_case)
{
    const std::pair<const char*, const char*> cases[] = {
        { "lang ger", "ger" }, { "LANG ger", "ger" }, { "-x lAnG chn --other", "chn" },
        { "slang ger", "ger" },                       // anywhere, even inside a word
        { "lang ger lang chn", "ger" },               // the first one counts
        { "lang GER", "GER" },                        // the word keeps its case
        { "", "" }, { "ger", "" }, { "langger", "" }, { "lang", "" }, { "lang ", "" },
        { "lang  ger", "" },                          // the word ends at the next space
    };
    for (auto& [line, word] : cases)
        EXPECT_EQ (language_word (line), word) << line;
}

TEST (chosen_translation, built_in_tables_need_the_exact_word)
{
    const file_beside_program no_file[] = { file_beside_program ("ger.localization"), file_beside_program ("GER.localization"),
                                            file_beside_program ("Ger.localization"), file_beside_program ("de.localization"),
                                            file_beside_program ("spa.localization"), file_beside_program ("rus.localization"),
                                            file_beside_program ("chn.localization") };
    EXPECT_EQ (about_under ("lang ger"), uber);
    EXPECT_EQ (about_under ("LANG ger"), uber);
    // Only "lang " ignores case; the row names are compared exactly. ISO codes and the
    // carried Spanish and Russian tables have no row.
    for (auto* line : { "lang GER", "lang Ger", "lang de", "lang spa", "lang rus", "lang ger_localization" })
        EXPECT_EQ (chosen_translation (line), nullptr) << line;

    auto chinese = chosen_translation ("lang chn");
    ASSERT_NE (chinese, nullptr);
    EXPECT_EQ (chinese->translate ("typeface.windows"), "Microsoft YaHei");
    EXPECT_NE (chinese->translate ("About"), "About");
    // Keys are matched ignoring case.
    EXPECT_EQ (chosen_translation ("lang ger")->translate ("ABOUT"), uber);
}

TEST (chosen_translation, a_file_beside_the_program_wins)
{
    const file_beside_program no_ger ("ger.localization");
    file_beside_program de ("de.localization", "language:German\n\"About\" = \"Info de\"\n");
    EXPECT_EQ (about_under ("lang de"), "Info de");

    EXPECT_EQ (about_under ("lang ger"), uber);
    {
        file_beside_program ger ("ger.localization", "language:German\n  \"About\" = \"Info ger\"\n");
        EXPECT_EQ (about_under ("lang ger"), "Info ger");
    }
    EXPECT_EQ (about_under ("lang ger"), uber);

    // Spanish is served by a file only, under any name the user picks.
    file_beside_program es ("es.localization", "language:Spanish\n\"About\" = \"Acerca de\"\n");
    EXPECT_EQ (about_under ("lang es"), "Acerca de");
}

TEST (chosen_translation, without_an_option_the_user_language_names_the_file)
{
    auto word = juce::SystemStats::getUserLanguage();
    if (word.isEmpty())
        word = "en";
    ASSERT_FALSE (word.containsAnyOf ("/\\")) << word;

    {
        file_beside_program none (word + ".localization");
        EXPECT_EQ (chosen_translation (""), nullptr);
    }
    file_beside_program user (word + ".localization", "language:Mine\n\"About\" = \"Mine\"\n");
    EXPECT_EQ (about_under (""), "Mine");
    EXPECT_EQ (about_under ("lang "), "Mine");
    EXPECT_EQ (about_under ("--verbose"), "Mine");
}

TEST (chosen_translation, bad_files_give_english_where_nothing_parses)
{
    {
        file_beside_program empty ("de.localization", juce::MemoryBlock());
        auto strings = chosen_translation ("lang de");
        ASSERT_NE (strings, nullptr);                           // the file exists, so it is used
        EXPECT_EQ (strings->translate ("About"), "About");
        EXPECT_EQ (strings->getMappings().size(), 0);
    }
    {
        // Latin-1, not UTF-8: the line parses, the one bad byte must not take the rest with it.
        const char latin1[] = "language:German\n\"About\" = \"\xdc" "ber\"\n\"Driver\" = \"Treiber\"\n";
        file_beside_program file ("de.localization", juce::MemoryBlock (latin1, sizeof latin1 - 1));
        auto strings = chosen_translation ("lang de");
        ASSERT_NE (strings, nullptr);
        EXPECT_EQ (strings->translate ("Driver"), "Treiber");
        EXPECT_EQ (strings->translate ("Exception"), "Exception");
    }
    {
        juce::MemoryBlock noise (64 * 1024);
        juce::Random random (1234);
        random.fillBitsRandomly (noise.getData(), noise.getSize());
        file_beside_program file ("de.localization", noise);
        auto strings = chosen_translation ("lang de");
        ASSERT_NE (strings, nullptr);
        EXPECT_EQ (strings->translate ("About"), "About");
    }
    {
        // A folder of that name exists but holds no table.
        file_beside_program folder ("de.localization");
        ASSERT_TRUE (folder.file.createDirectory());
        auto strings = chosen_translation ("lang de");
        ASSERT_NE (strings, nullptr);
        EXPECT_EQ (strings->translate ("About"), "About");
    }
}

TEST (chosen_translation, a_very_large_file_is_refused_without_hanging)
{
    const auto table = [] (juce::int64 size, const char* last)
    {
        juce::MemoryOutputStream text;
        text << "language:Large\n";
        for (int i = 0; (juce::int64) text.getDataSize() < size; ++i)
            text << "\"key number " << i << " with some padding to make the line longer\" = \"value " << i << "\"\n";
        text << "\"About\" = \"" << last << "\"\n";
        return text.getMemoryBlock();
    };

    // A generous table still loads, to its last line.
    {
        file_beside_program large ("de.localization", table (200 * 1024, "Last line"));
        EXPECT_EQ (about_under ("lang de"), "Last line");
    }
    // 50 MB: English, at once.
    const auto start = std::chrono::steady_clock::now();
    {
        file_beside_program huge ("de.localization", table (50 * 1024 * 1024, "Never read"));
        auto strings = chosen_translation ("lang de");
        ASSERT_NE (strings, nullptr);
        EXPECT_EQ (strings->translate ("About"), "About");
        EXPECT_EQ (strings->translate ("key number 1 with some padding to make the line longer"),
                   "key number 1 with some padding to make the line longer");
    }
    const auto seconds = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
    EXPECT_LT (seconds, 10.0);
}

TEST (chosen_translation, garbage_command_lines_fall_back)
{
    juce::Random random (99);
    juce::String garbage;
    for (int i = 0; i < 20000; ++i)
        garbage << juce::String::charToString ((juce::juce_wchar) (1 + random.nextInt (0x2fff)));

    for (auto& line : { garbage, "lang " + garbage, juce::String ("lang ../../../../../../../../etc/passwd"),
                        juce::String ("lang \t\r\n"), juce::String ("lang klingon") })
        EXPECT_EQ (chosen_translation (line), nullptr);
}
