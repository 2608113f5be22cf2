#include <gtest/gtest.h>

#include "app/skin_root.h"
#include "app/translation.h"
#include "app/user_language.h"
#include "skin/translation_tables.h"
#include "tests/support/file_beside_program.h"

#include <array>
#include <cstdlib>
#include <optional>
#include <string>

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

namespace
{
    void collect_keys (const juce::XmlElement& e, juce::StringArray& keys)
    {
        for (auto* name : { "tooltip", "menu" })
            if (e.hasAttribute (name))
                keys.addIfNotAlreadyThere (e.getStringAttribute (name));
        for (auto* child : e.getChildIterator())
            collect_keys (*child, keys);
    }
}

TEST (translation_tables, hold_every_text_of_the_skin_and_the_code)
{
    juce::StringArray keys { "About", "Driver", "Exception", "n/a" };
    collect_keys (*parse_skin(), keys);
    ASSERT_EQ (keys.size(), 28);
    // Spanish and Russian lack the two version tooltips and the update tooltip; Chinese keeps them English.
    const juce::StringArray english_only { "Check available software updates.", "Displays current driver and firmware version information",
                                           "Displays the current Kelto Veltrano Control Panel version information" };
    const std::pair<const char*, juce::String> tables[] = {
        { "Chinese", translation_tables::chinese() }, { "German", translation_tables::german() },
        { "Spanish", translation_tables::spanish() }, { "Russian", translation_tables::russian() },
    };
    for (auto& [language, text] : tables)
    {
        const juce::LocalisedStrings table (text, true);
        EXPECT_EQ (table.getLanguageName(), language);
        const bool full = juce::String (language) == "Chinese" || juce::String (language) == "German";
        for (auto& key : keys)
        {
            const bool expected = full || ! english_only.contains (key);
            EXPECT_EQ (table.getMappings().containsKey (key), expected) << language << ": " << key;
            if (expected && ! english_only.contains (key))
                EXPECT_NE (table.translate (key), key) << language << ": " << key;
        }
    }
    const juce::LocalisedStrings chinese (translation_tables::chinese(), true);
    for (auto& key : english_only)
        EXPECT_EQ (chinese.translate (key), key);
    EXPECT_EQ (chinese.translate ("typeface.osx"), "Hei");
}

TEST (chosen_translation, built_in_tables_need_the_exact_word)
{
    const file_beside_program no_file[] = { file_beside_program ("ger.localization"), file_beside_program ("GER.localization"),
                                            file_beside_program ("Ger.localization"), file_beside_program ("de.localization"),
                                            file_beside_program ("spa.localization"), file_beside_program ("rus.localization"),
                                            file_beside_program ("chn.localization") };
    EXPECT_EQ (about_under ("LANG ger"), uber);
    // Only "lang " ignores case; the row names are compared exactly. ISO codes and the
    // carried Spanish and Russian tables have no row.
    for (auto* line : { "lang GER", "lang de", "lang spa", "lang rus", "lang klingon", "lang \t" })
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
    EXPECT_EQ (chosen_translation ("lang de")->translate ("ABOUT"), "Info de"); // keys ignore case

    EXPECT_EQ (about_under ("lang ger"), uber);
    {
        file_beside_program ger ("ger.localization", "language:German\n  \"About\" = \"Info ger\"\n");
        EXPECT_EQ (about_under ("lang ger"), "Info ger");
    }
    EXPECT_EQ (about_under ("lang ger"), uber);
}

TEST (user_language, is_the_iso_code_of_a_locale_name)
{
    const std::pair<const char*, const char*> cases[] = {
        { "de_DE.UTF-8", "de" }, { "zh_CN.GB2312", "zh" }, { "pt_BR", "pt" }, { "fr", "fr" },
        { "de.UTF-8", "de" }, { "sr_RS@latin", "sr" }, { "ast_ES.UTF-8", "ast" }, { "DE_de", "de" },
        { "C", "en" }, { "C.UTF-8", "en" }, { "POSIX", "en" }, { "", "en" },
        { "deutsch_DE", "en" }, { "../../etc/passwd", "en" }, { "d1_DE", "en" },
    };
    for (auto& [locale, language] : cases)
        EXPECT_EQ (language_of_locale (locale), language) << locale;
}

#if ! defined(_WIN32)
TEST (user_language, is_taken_from_lc_all_then_lc_messages_then_lang)
{
    const char* const names[] = { "LC_ALL", "LC_MESSAGES", "LANG" };
    // The three variables, then the language they give; empty counts as unset.
    const std::array<const char*, 4> cases[] = {
        { "de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "de" }, { nullptr, "fr_FR.UTF-8", "es_ES.UTF-8", "fr" },
        { "", "", "es_ES.UTF-8", "es" }, { nullptr, nullptr, "C.UTF-8", "en" }, { nullptr, nullptr, nullptr, "en" },
    };
    const auto set = [] (const char* name, const char* value) { value != nullptr ? ::setenv (name, value, 1) : ::unsetenv (name); };
    std::optional<std::string> saved[3];
    for (int i = 0; i < 3; ++i)
        if (const char* value = std::getenv (names[i]))
            saved[i] = value;

    for (auto& c : cases)
    {
        for (int i = 0; i < 3; ++i)
            set (names[i], c[(std::size_t) i]);
        EXPECT_EQ (user_language(), c[3]) << (c[0] ? c[0] : "-") << " " << (c[1] ? c[1] : "-");
    }
    for (int i = 0; i < 3; ++i)
        set (names[i], saved[i] ? saved[i]->c_str() : nullptr);
}
#endif

TEST (chosen_translation, without_an_option_the_user_language_names_the_file)
{
    const auto word = user_language();
    {
        file_beside_program none (word + ".localization");
        EXPECT_EQ (chosen_translation (""), nullptr);
    }
    file_beside_program user (word + ".localization", "language:Mine\n\"About\" = \"Mine\"\n");
    EXPECT_EQ (about_under (""), "Mine");
    EXPECT_EQ (about_under ("lang "), "Mine");
    EXPECT_EQ (about_under ("--verbose"), "Mine");
}

TEST (chosen_translation, a_bad_byte_in_a_file_spoils_its_line_alone)
{
    // Latin-1, not UTF-8: the line parses, the one bad byte must not take the rest with it.
    const char latin1[] = "language:German\n\"About\" = \"\xdc" "ber\"\n\"Driver\" = \"Treiber\"\n";
    file_beside_program file ("de.localization", juce::MemoryBlock (latin1, sizeof latin1 - 1));
    auto strings = chosen_translation ("lang de");
    ASSERT_NE (strings, nullptr);
    EXPECT_EQ (strings->translate ("Driver"), "Treiber");
    EXPECT_EQ (strings->translate ("Exception"), "Exception");
}

TEST (chosen_translation, a_file_beyond_256_kib_is_refused)
{
    // JUCE reads a table in quadratic time: a huge file would freeze the start.
    const auto table = [] (int size)
    {
        juce::String text ("language:Large\n\"About\" = \"Loaded\"\n");
        text << juce::String::repeatedString ("x", size - text.getNumBytesAsUTF8());
        return text;
    };
    {
        file_beside_program limit ("de.localization", table (256 * 1024));
        ASSERT_EQ (limit.file.getSize(), 256 * 1024);
        EXPECT_EQ (about_under ("lang de"), "Loaded");
    }
    file_beside_program beyond ("de.localization", table (256 * 1024 + 1));
    ASSERT_EQ (beyond.file.getSize(), 256 * 1024 + 1);
    auto strings = chosen_translation ("lang de");
    ASSERT_NE (strings, nullptr);
    EXPECT_EQ (strings->translate ("About"), "About");
}
