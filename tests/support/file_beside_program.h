#pragma once

#include "skin/program_folder.h"

#include <juce_core/juce_core.h>

// A file in the test program's own folder, where the program looks for translation and
// image files; removed again when the test ends.
class file_beside_program
{
public:
    // Without contents: makes sure no such file is there (a killed run may have left one).
    explicit file_beside_program (const juce::String& name) : file (program_folder() + name) { file.deleteRecursively(); }
    // An empty block makes an empty file (JUCE's replaceWithData would delete it).
    file_beside_program (const juce::String& name, const juce::MemoryBlock& bytes) : file_beside_program (name)
    {
        file.create();
        file.appendData (bytes.getData(), bytes.getSize());
    }
    file_beside_program (const juce::String& name, const juce::String& utf8)
        : file_beside_program (name) { file.replaceWithText (utf8, false, false, "\n"); }
    ~file_beside_program() { file.deleteRecursively(); }

    file_beside_program (const file_beside_program&) = delete;
    file_beside_program& operator= (const file_beside_program&) = delete;

    const juce::File file;
};

// Installs a translation for one test and always leaves English behind.
class scoped_translation
{
public:
    explicit scoped_translation (juce::LocalisedStrings* strings) { juce::LocalisedStrings::setCurrentMappings (strings); }
    explicit scoped_translation (const juce::String& table) : scoped_translation (new juce::LocalisedStrings (table, true)) {}
    ~scoped_translation() { juce::LocalisedStrings::setCurrentMappings (nullptr); }

    scoped_translation (const scoped_translation&) = delete;
    scoped_translation& operator= (const scoped_translation&) = delete;
};
