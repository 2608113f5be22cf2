#include "app/covering_typeface.h"

#include <fontconfig/fontconfig.h>

#include <memory>

namespace
{
    template <class T, void (*destroy) (T*)>
    struct fc_deleter
    {
        void operator() (T* p) const { if (p != nullptr) destroy (p); }
    };
    using pattern_ptr = std::unique_ptr<FcPattern, fc_deleter<FcPattern, FcPatternDestroy>>;
    using charset_ptr = std::unique_ptr<FcCharSet, fc_deleter<FcCharSet, FcCharSetDestroy>>;
    using fontset_ptr = std::unique_ptr<FcFontSet, fc_deleter<FcFontSet, FcFontSetDestroy>>;

    juce::Typeface::Ptr typeface_of (FcPattern* font)
    {
        // A family JUCE lists is made by name; any other face is read from its file.
        const auto known = juce::Font::findAllTypefaceNames();
        FcChar8* family = nullptr;
        for (int i = 0; FcPatternGetString (font, FC_FAMILY, i, &family) == FcResultMatch; ++i)
            if (known.contains (juce::String::fromUTF8 (reinterpret_cast<const char*> (family))))
                return juce::Typeface::createSystemTypefaceFor (
                    juce::Font (juce::String::fromUTF8 (reinterpret_cast<const char*> (family)), 12.0f, juce::Font::plain));

        FcChar8* file = nullptr;
        int index = 0;
        if (FcPatternGetString (font, FC_FILE, 0, &file) != FcResultMatch)
            return nullptr;
        FcPatternGetInteger (font, FC_INDEX, 0, &index);
        if (index != 0)
            return nullptr; // JUCE reads the first face of a file only
        juce::MemoryBlock data;
        if (! juce::File (juce::String::fromUTF8 (reinterpret_cast<const char*> (file))).loadFileAsData (data))
            return nullptr;
        return juce::Typeface::createSystemTypefaceFor (data.getData(), data.getSize());
    }
}

juce::String letters_beyond_ascii (const juce::LocalisedStrings& table)
{
    juce::String letters;
    for (auto& value : table.getMappings().getAllValues())
        for (auto c : value)
            if (c > 0x7f && ! letters.containsChar (c))
                letters += juce::String::charToString (c);
    return letters;
}

juce::Typeface::Ptr covering_typeface (const juce::String& letters)
{
    if (letters.isEmpty() || FcInit() == FcFalse)
        return nullptr;

    charset_ptr wanted (FcCharSetCreate());
    for (auto c : letters)
        FcCharSetAddChar (wanted.get(), static_cast<FcChar32> (c));

    // The closest match to a plain sans-serif face that has every letter.
    pattern_ptr pattern (FcNameParse (reinterpret_cast<const FcChar8*> ("sans-serif:weight=regular:slant=roman")));
    FcConfigSubstitute (nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute (pattern.get());
    FcResult result = FcResultNoMatch;
    fontset_ptr sorted (FcFontSort (nullptr, pattern.get(), FcFalse, nullptr, &result));
    if (sorted == nullptr)
        return nullptr;

    for (int i = 0; i < sorted->nfont; ++i)
    {
        FcCharSet* has = nullptr;
        if (FcPatternGetCharSet (sorted->fonts[i], FC_CHARSET, 0, &has) != FcResultMatch
            || FcCharSetIsSubset (wanted.get(), has) == FcFalse)
            continue;
        if (auto typeface = typeface_of (sorted->fonts[i]))
            return typeface;
    }
    return nullptr;
}
