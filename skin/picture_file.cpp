#include "skin/picture_file.h"

#include <png.h>
#include <vector>

namespace
{
    // Larger pictures are refused rather than allowed to exhaust memory.
    constexpr png_uint_32 largest_side = 16384;

    bool has_png_signature (const juce::MemoryBlock& bytes)
    {
        return bytes.getSize() >= 8 && png_sig_cmp (static_cast<png_const_bytep> (bytes.getData()), 0, 8) == 0;
    }

    juce::Image decode_png (const juce::MemoryBlock& bytes)
    {
        png_image png {};
        png.version = PNG_IMAGE_VERSION;
        if (png_image_begin_read_from_memory (&png, bytes.getData(), bytes.getSize()) == 0)
            return {};
        if (png.width == 0 || png.height == 0 || png.width > largest_side || png.height > largest_side)
        {
            png_image_free (&png);
            return {};
        }

        png.format = PNG_FORMAT_BGRA;
        std::vector<png_byte> pixels (PNG_IMAGE_SIZE (png));
        if (png_image_finish_read (&png, nullptr, pixels.data(), 0, nullptr) == 0)
            return {};   // finish_read frees the image on failure

        juce::Image image (juce::Image::ARGB, (int) png.width, (int) png.height, false);
        juce::Image::BitmapData target (image, juce::Image::BitmapData::writeOnly);
        const png_byte* source = pixels.data();
        for (int y = 0; y < target.height; ++y)
            for (int x = 0; x < target.width; ++x, source += 4)
                target.setPixelColour (x, y, juce::Colour (source[2], source[1], source[0], source[3]));
        return image;
    }
}

juce::Image load_picture_file (const juce::File& file)
{
    juce::MemoryBlock bytes;
    if (! file.loadFileAsData (bytes))
        return {};
    if (! has_png_signature (bytes))
        return {};
    return decode_png (bytes);
}
