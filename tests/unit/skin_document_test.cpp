#include <gtest/gtest.h>

#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "tests/support/file_beside_program.h"

#include <map>
#include <vector>

namespace
{
    struct size { int w, h; };

    // Every picture's size is fixed: pages and controls are placed by these numbers.
    const std::map<juce::String, size> image_sizes = {
        { "resource::about_png", { 475, 182 } },
        { "resource::about_download_on_png", { 89, 23 } },
        { "resource::about_download_off_png", { 89, 23 } },
        { "resource::about_download_over_png", { 89, 23 } },
        { "resource::kelto_png", { 65, 11 } },
        { "resource::disabled_png", { 474, 182 } },
        { "resource::easy_png", { 475, 182 } },
        { "resource::easy_off_png", { 50, 23 } },
        { "resource::easy_on_png", { 50, 23 } },
        { "resource::easy_over_png", { 50, 23 } },
        { "resource::expert_png", { 634, 520 } },
        { "resource::expert_off_png", { 50, 23 } },
        { "resource::expert_on_png", { 50, 23 } },
        { "resource::expert_over_png", { 50, 23 } },
        { "resource::gain_menu_off_png", { 36, 22 } },
        { "resource::gain_menu_over_png", { 36, 22 } },
        { "resource::download_on_png", { 12, 12 } },
        { "resource::download_off_png", { 12, 12 } },
        { "resource::download_over_png", { 12, 12 } },
        { "resource::hi_z_expert_off_png", { 43, 37 } },
        { "resource::hi_z_expert_on_png", { 43, 37 } },
        { "resource::hi_z_off_png", { 39, 33 } },
        { "resource::hi_z_on_png", { 39, 33 } },
        { "resource::hi_z_over_png", { 39, 33 } },
        { "resource::monitoring_off_png", { 49, 33 } },
        { "resource::monitoring_on_png", { 49, 33 } },
        { "resource::monitoring_over_png", { 49, 33 } },
        { "resource::veltrano_png", { 71, 7 } },
        { "resource::phantom_power_off_png", { 39, 33 } },
        { "resource::phantom_power_on_png", { 39, 33 } },
        { "resource::phantom_power_over_png", { 39, 33 } },
        { "resource::phones12_png", { 44, 40 } },
        { "resource::phones34_png", { 44, 40 } },
    };

    void collect_references (const juce::XmlElement& element, juce::StringArray& references)
    {
        for (int i = 0; i < element.getNumAttributes(); ++i)
            if (element.getAttributeValue (i).startsWith ("resource::"))
                references.addIfNotAlreadyThere (element.getAttributeValue (i));
        for (auto* child : element.getChildIterator())
            collect_references (*child, references);
    }

    struct gain_item { int step; juce::String item; };

    std::vector<gain_item> menu_of (const juce::XmlElement& root, const juce::String& tag)
    {
        std::vector<gain_item> items;
        auto* expert = root.getChildByName ("device")->getChildByName ("expert");
        auto* control = expert->getChildByName (tag);
        if (control == nullptr)
            return items;
        for (auto* gain : control->getChildWithTagNameIterator ("gain"))
            items.push_back ({ gain->getIntAttribute ("step", -1), gain->getStringAttribute ("item") });
        return items;
    }
}

TEST (skin_document, parses_into_the_three_parts)
{
    auto root = parse_skin();
    ASSERT_NE (root, nullptr);
    EXPECT_EQ (root->getTagName(), "veltrano");
    for (auto* part : { "style", "about", "device" })
        EXPECT_NE (root->getChildByName (part), nullptr) << part;
}

TEST (skin_document, a_preferences_file_beside_the_program_changes_nothing)
{
    file_beside_program preferences ("preferences.xml", "<?xml version=\"1.0\"?><other><style size=\"99\"/></other>");
    auto root = parse_skin();
    ASSERT_NE (root, nullptr);
    EXPECT_EQ (root->getTagName(), "veltrano");
    EXPECT_EQ (root->getChildByName ("style")->getIntAttribute ("size"), 12);
}

TEST (skin_images, the_document_uses_every_table_row_and_each_decodes_at_its_fixed_size)
{
    auto root = parse_skin();
    juce::StringArray used, table (image_references());
    collect_references (*root, used);
    used.sort (false);
    table.sort (false);
    EXPECT_EQ (table.size(), 33);
    EXPECT_EQ (used, table) << "every reference resolves, and every picture is used";
    for (auto& reference : table)
    {
        auto expected = image_sizes.find (reference);
        ASSERT_NE (expected, image_sizes.end()) << "unexpected row " << reference;
        const auto image = image_lookup (reference);
        EXPECT_EQ (image.getBounds(), juce::Rectangle<int> (expected->second.w, expected->second.h)) << reference;
    }
}

namespace
{
    juce::MemoryBlock small_red_picture (juce::ImageFileFormat&& format)
    {
        juce::Image red (juce::Image::ARGB, 3, 2, true);
        red.clear (red.getBounds(), juce::Colours::red);
        juce::MemoryOutputStream bytes;
        format.writeImageToStream (red, bytes);
        return bytes.getMemoryBlock();
    }

    // PNG's chunk checksum, so that a doctored header still passes as well-formed.
    juce::uint32 crc32 (const unsigned char* data, size_t size)
    {
        juce::uint32 crc = 0xffffffffu;
        for (size_t i = 0; i < size; ++i)
        {
            crc ^= data[i];
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
        }
        return crc ^ 0xffffffffu;
    }

    juce::Image beside_program (const juce::MemoryBlock& bytes)
    {
        file_beside_program picture ("custom_picture.png", bytes);
        return image_lookup ("custom_picture.png");
    }
}

TEST (skin_images, unknown_and_empty_references_give_null_images)
{
    // The table is matched exactly, letter case included.
    for (auto* reference : { "", "resource::???", "resource::EASY_png" })
        EXPECT_TRUE (image_lookup (reference).isNull()) << reference;
}

TEST (skin_images, a_png_beside_the_program_wins)
{
    const auto image = beside_program (small_red_picture (juce::PNGImageFormat()));
    EXPECT_EQ (image.getBounds(), juce::Rectangle<int> (3, 2));
    EXPECT_EQ (image.getPixelAt (1, 1), juce::Colours::red);
    // Without an alpha channel the picture is opaque.
    juce::Image blue (juce::Image::RGB, 4, 4, true);
    blue.clear (blue.getBounds(), juce::Colours::blue);
    juce::MemoryOutputStream rgb;
    juce::PNGImageFormat().writeImageToStream (blue, rgb);
    EXPECT_EQ (beside_program (rgb.getMemoryBlock()).getPixelAt (3, 3), juce::Colours::blue);

    // The file is only looked at while it is there.
    EXPECT_TRUE (image_lookup ("custom_picture.png").isNull());
}

TEST (skin_images, anything_but_a_png_beside_the_program_gives_a_null_image)
{
    EXPECT_TRUE (beside_program (juce::MemoryBlock()).isNull());
    EXPECT_TRUE (beside_program (juce::MemoryBlock ("this is not a picture", 21)).isNull());
    EXPECT_TRUE (beside_program (small_red_picture (juce::JPEGImageFormat())).isNull());
    EXPECT_TRUE (beside_program (juce::MemoryBlock ("GIF89a\x03\x00\x02\x00\x00\x00\x00;", 14)).isNull());
}

TEST (skin_images, a_damaged_png_beside_the_program_gives_a_null_image)
{
    const auto png = small_red_picture (juce::PNGImageFormat());
    EXPECT_TRUE (beside_program (juce::MemoryBlock (png.getData(), png.getSize() / 2)).isNull());

    // The pixel data scrambled behind a valid signature and header.
    juce::MemoryBlock scrambled (png);
    for (size_t i = 41; i < scrambled.getSize() - 12; ++i)
        scrambled[i] = (char) (scrambled[i] ^ 0x5a);
    EXPECT_TRUE (beside_program (scrambled).isNull());

    // A well-formed header that claims 100000 x 100000 pixels: 40 GB, never to be allocated.
    juce::MemoryBlock huge (png);
    auto* bytes = static_cast<unsigned char*> (huge.getData());
    const unsigned char side[] = { 0x00, 0x01, 0x86, 0xa0 };
    std::copy (std::begin (side), std::end (side), bytes + 16);     // IHDR width
    std::copy (std::begin (side), std::end (side), bytes + 20);     // IHDR height
    const auto crc = crc32 (bytes + 12, 17);                          // over type and data
    for (int i = 0; i < 4; ++i)
        bytes[29 + i] = (unsigned char) (crc >> (24 - 8 * i));
    EXPECT_TRUE (beside_program (huge).isNull());
}

TEST (skin_gain_menus, have_their_counts_and_run_from_the_highest_step_down)
{
    auto root = parse_skin();
    const std::map<juce::String, size_t> counts = {
        { "level_out12", 40 }, { "level_phones12", 31 }, { "level_phones34", 31 },
        { "input_gain1", 20 }, { "input_gain2", 20 }, { "input_gain34", 20 }, { "input_gain2_hi_z", 20 },
    };
    for (auto& [tag, count] : counts)
    {
        const auto items = menu_of (*root, tag);
        ASSERT_EQ (items.size(), count) << tag;
        for (size_t i = 1; i < items.size(); ++i)
            EXPECT_LT (items[i].step, items[i - 1].step) << tag << " item " << i;
        EXPECT_EQ (items.back().step, 1) << tag;
        EXPECT_EQ (items.front().step, count == 20 ? 20 : 40) << tag;
    }
    // The easy layout has no gain menus at all.
    auto* easy = root->getChildByName ("device")->getChildByName ("easy");
    for (auto& [tag, count] : counts)
        EXPECT_EQ (easy->getChildByName (tag), nullptr) << tag;
}

TEST (skin_gain_menus, headset_menus_skip_steps_2_to_10)
{
    auto root = parse_skin();
    for (auto* tag : { "level_phones12", "level_phones34" })
    {
        const auto items = menu_of (*root, tag);
        ASSERT_EQ (items.size(), 31u);
        for (auto& item : items)
            EXPECT_FALSE (item.step >= 2 && item.step <= 10) << tag << " has step " << item.step;
    }
}
