#include "skin/translation_tables.h"
#include "skin/embedded.h"

namespace
{
    juce::String table (const char* name)
    {
        auto* file = find_embedded (skin::texts::files, name);
        return juce::String::fromUTF8 (reinterpret_cast<const char*> (file->data), (int) file->size);
    }
}

namespace translation_tables
{
    juce::String chinese() { return table ("chinese.txt"); }
    juce::String german()  { return table ("german.txt"); }
    juce::String spanish() { return table ("spanish.txt"); }
    juce::String russian() { return table ("russian.txt"); }
}
