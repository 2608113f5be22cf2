#include "skin/picture_file.h"
#include "skin/png_decode.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{
    bool has_png_signature (const juce::MemoryBlock& bytes)
    {
        static const unsigned char signature[] = { 0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n' };
        return bytes.getSize() >= sizeof signature
            && std::memcmp (bytes.getData(), signature, sizeof signature) == 0;
    }

    juce::Image decode_png (const juce::MemoryBlock& bytes, unsigned long long max_pixels)
    {
        unsigned w = 0, h = 0;
        const std::unique_ptr<unsigned char, decltype (&std::free)> pixels (
            png_decode_bgra (bytes.getData(), bytes.getSize(), max_pixels, &w, &h), &std::free);
        if (pixels == nullptr)
            return {};

        juce::Image image (juce::Image::ARGB, (int) w, (int) h, false);
        juce::Image::BitmapData target (image, juce::Image::BitmapData::writeOnly);
        const unsigned char* source = pixels.get();
        for (int y = 0; y < target.height; ++y)
            for (int x = 0; x < target.width; ++x, source += 4)
                target.setPixelColour (x, y, juce::Colour (source[2], source[1], source[0], source[3]));
        return image;
    }
}

juce::Image load_picture_file (const juce::File& file, unsigned long long max_pixels)
{
    if ((unsigned long long) file.getSize() > max_pixels * 8 + picture_metadata_allowance)
        return {};
    juce::MemoryBlock bytes;
    if (! file.loadFileAsData (bytes))
        return {};
    if (! has_png_signature (bytes))
        return {};
    return decode_png (bytes, max_pixels);
}
