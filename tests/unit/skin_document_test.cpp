#include <gtest/gtest.h>

#include "tests/support/thrown_code.h"

#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "skin/picture_file.h"
#include "tests/support/file_beside_program.h"

#include <vector>

namespace
{
    void collect_references (const juce::XmlElement& element, juce::StringArray& references)
    {
        for (int i = 0; i < element.getNumAttributes(); ++i)
            if (element.getAttributeValue (i).startsWith ("resource::"))
                references.addIfNotAlreadyThere (element.getAttributeValue (i));
        for (auto* child : element.getChildIterator())
            collect_references (*child, references);
    }
}

TEST (skin_document, nothing_parsed_is_the_same_invalid_data_failure_as_a_missing_layout)
{
    for (auto* broken : { "", "not xml", "<?xml version=\"1.0\"?>" })
        EXPECT_EQ (thrown_code ([&] { parse_skin (broken); }), qv::invalid_data()) << broken;
#if defined(_WIN32)
    EXPECT_EQ (qv::invalid_data(), 13u); // ERROR_INVALID_DATA
#else
    EXPECT_EQ (qv::message (qv::invalid_data()), "Invalid argument"); // not 13's "Permission denied"
#endif
}

TEST (skin_document, is_the_built_in_one_even_with_a_preferences_file_beside_the_program)
{
    file_beside_program preferences ("preferences.xml", "<?xml version=\"1.0\"?><other><style size=\"99\"/></other>");
    auto root = parse_skin();
    ASSERT_NE (root, nullptr);
    EXPECT_EQ (root->getTagName(), "veltrano");
    for (auto* part : { "about", "device" })
        EXPECT_NE (root->getChildByName (part), nullptr) << part;
    EXPECT_EQ (root->getChildByName ("style")->getIntAttribute ("size"), 12);
}

TEST (skin_images, the_document_uses_every_table_row_and_each_decodes_with_its_2x_render)
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
        const auto image = image_lookup (reference);
        ASSERT_FALSE (image.isNull()) << reference;
        EXPECT_EQ (double_size_render (image).getBounds(), image.getBounds() * 2) << reference;
        EXPECT_EQ (double_size_render (image_lookup (reference)).getPixelData(), double_size_render (image).getPixelData())
            << reference << ": a page built again must not decode its 2x pictures again";
    }
}

namespace
{
    juce::MemoryBlock small_red_picture (juce::ImageFileFormat&& format, int width = 3, juce::Image::PixelFormat type = juce::Image::ARGB,
                                         juce::Colour colour = juce::Colours::red)
    {
        juce::Image picture (type, width, 2, true);
        picture.clear (picture.getBounds(), colour);
        juce::MemoryOutputStream bytes;
        format.writeImageToStream (picture, bytes);
        return bytes.getMemoryBlock();
    }

    juce::Image beside_program (const juce::MemoryBlock& bytes, const juce::String& name = "custom_picture.png")
    {
        file_beside_program picture (name, bytes);
        return image_lookup (name);
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
    EXPECT_EQ (image.getPixelAt (0, 0), juce::Colours::red) << "first row and column";
    EXPECT_EQ (image.getPixelAt (2, 1), juce::Colours::red) << "last row and column";
    EXPECT_TRUE (double_size_render (image).isNull()) << "a picture from a file has no 2x render";
    // Without an alpha channel the picture is opaque.
    EXPECT_EQ (beside_program (small_red_picture (juce::PNGImageFormat(), 4, juce::Image::RGB, juce::Colours::blue)).getPixelAt (3, 1),
               juce::Colours::blue);

    // The file is only looked at while it is there.
    EXPECT_TRUE (image_lookup ("custom_picture.png").isNull());
#if ! defined(_WIN32)
    // Named exactly like a reference (a legal name here), it beats the built-in picture.
    EXPECT_EQ (beside_program (small_red_picture (juce::PNGImageFormat()), "resource::easy_png").getBounds(), juce::Rectangle<int> (3, 2));
    EXPECT_EQ (image_lookup ("resource::easy_png").getWidth(), 475);
#endif
}

TEST (skin_images, anything_but_a_sound_png_beside_the_program_gives_a_null_image)
{
    EXPECT_TRUE (beside_program (juce::MemoryBlock()).isNull());
    EXPECT_TRUE (beside_program (small_red_picture (juce::JPEGImageFormat())).isNull());
    const auto png = small_red_picture (juce::PNGImageFormat());
    EXPECT_TRUE (beside_program (juce::MemoryBlock (png.getData(), png.getSize() / 2)).isNull());

    // The pixel data scrambled behind a valid signature and header.
    juce::MemoryBlock scrambled (png);
    for (size_t i = 41; i < scrambled.getSize() - 12; ++i)
        scrambled[i] = (char) (scrambled[i] ^ 0x5a);
    EXPECT_TRUE (beside_program (scrambled).isNull());
}

namespace
{
    juce::MemoryBlock black_png (int width, int height)
    {
        juce::MemoryOutputStream bytes;
        juce::PNGImageFormat().writeImageToStream (juce::Image (juce::Image::RGB, width, height, true), bytes);
        return bytes.getMemoryBlock();
    }
}

TEST (skin_images, a_file_may_have_the_pixels_of_the_2x_render_it_replaces_and_no_more)
{
    // A header may claim 16384 x 16384 pixels in a file of 800 KB. A name the table lacks
    // is held to its largest picture.
    juce::Rectangle<int> largest;
    for (auto& reference : image_references())
        if (const auto r = double_size_render (image_lookup (reference)).getBounds(); r.getWidth() * r.getHeight() > largest.getWidth() * largest.getHeight())
            largest = r;
    const struct
    {
        const char* name;
        juce::Rectangle<int> most;
    } cases[] = {
        { "custom_picture.png", largest },
#if ! defined(_WIN32)
        { "resource::easy_png", double_size_render (image_lookup ("resource::easy_png")).getBounds() },
#endif
    };
    for (auto& [name, most] : cases)
    {
        EXPECT_EQ (beside_program (black_png (most.getWidth(), most.getHeight()), name).getBounds(), most) << name;
        EXPECT_TRUE (beside_program (black_png (most.getWidth(), most.getHeight() + 1), name).isNull()) << name;
    }
}

TEST (skin_images, a_file_longer_than_its_pixels_could_fill_is_refused)
{
    // What follows a PNG's end is never decoded: only the file's length refuses it.
    auto padded = black_png (3, 2);
    padded.setSize ((size_t) (6 * 8 + picture_metadata_allowance), true);
    file_beside_program file ("custom_picture.png", padded);
    EXPECT_EQ (load_picture_file (file.file, 6).getWidth(), 3);
    file.file.appendData ("", 1);
    EXPECT_TRUE (load_picture_file (file.file, 6).isNull());
}

namespace
{
    // The gain items of a menu: "40=0 dB|-0.5|..." gives step 40 "0 dB", then each text one step lower
    // unless it names its own step.
    juce::String expanded (const char* items)
    {
        juce::String out;
        int step = 0;
        for (auto& token : juce::StringArray::fromTokens (items, "|", ""))
        {
            const bool numbered = token.containsChar ('=');
            step = numbered ? token.getIntValue() : step - 1;
            out << step << "=" << (numbered ? token.fromFirstOccurrenceOf ("=", false, false) : token) << "|";
        }
        return out;
    }

    juce::String items_of (const juce::XmlElement& control)
    {
        juce::String out;
        for (auto* gain : control.getChildIterator())
            out << gain->getStringAttribute ("step") << "=" << gain->getStringAttribute ("item") << "|";
        return out;
    }

    struct control_row
    {
        const char* layout;
        const char* tag;
        const char* id;
        const char* x;
        const char* y;
        const char* on;  // picture names without "resource::" and "_png"
        const char* off;
        const char* over; // "" when the control has none
        const char* tooltip;
        const char* menu;
        const char* items;
    };

    const char* const out12 = "40=0 dB|-0.5|-1|-1.5|-2|-2.5|-3|-3.5|-4|-4.5|-5.5|-6.5|-7.5|-8.5|-9.5|-10.5|-11.5|-13|-14.5|"
                              "-16|-17.5|-19|-21|-23|-25|-27|-29.5|-32|-34|-37.5|-40.5|-43.5|-47|-50.5|-54.5|-58.5|-63|-67.5|-121.5|mute";
    const char* const phones = "40=+6|+5|+4|+3|+2|+1|0 dB|-1|-2|-3|-5|-7|-9|-11|-13|-15|-17|-20|-23|-26|-29|-32|-36|-40|-44|-48|"
                               "-53|-58|-63|-69|1=mute";
    const char* const input = "20=50.5|48|45|42.5|40|37|34.5|32|29|26.5|24|21.5|18.5|16|13.5|10.5|8|5|2.5|0 dB";
    const char* const input2 = "20=50.5 (43)|48 (42.5)|45 (42.5)|42.5 (41.5)|40|37|34.5|32|29|26.5|24|21.5|18.5|16|13.5|10.5|8|5|2.5|0 dB";
    const char* const hi_z = "20=43|42.5|42.5|41.5|40|37|34.5|32|29|26.5|24|21.5|18.5|16|13.5|10.5|8|5|2.5|0 dB";

    const control_row controls[] = {
        { "easy", "monitoring", "8", "398", "108", "monitoring_on", "monitoring_off", "monitoring_over", "Turn zero latency hardware monitoring ON or OFF", nullptr, nullptr },
        { "easy", "highz", "9", "138", "109", "hi_z_on", "hi_z_off", "hi_z_over", "Switch input 2 to Hi-Z instrument input (\xe2\x80\x9cguitar input\xe2\x80\x9d)", nullptr, nullptr },
        { "easy", "phantom_power_1", "10", "19", "109", "phantom_power_on", "phantom_power_off", "phantom_power_over", "Turn 48V phantom power for channel 1 ON or OFF", nullptr, nullptr },
        { "easy", "phantom_power_2", "11", "79", "109", "phantom_power_on", "phantom_power_off", "phantom_power_over", "Turn 48V phantom power for channel 2 ON or OFF", nullptr, nullptr },
        { "easy", "headphone", "12", "262", "103", "phones12", "phones34", "", "Select headset source channels 1/2 or 3/4", nullptr, nullptr },
        { "expert", "level_out12", "1", "371", "165", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set attenuation for output 1/2 (7.75dBu @ 0dB FS: 100Ohm output impedance)", "Attenuation for output 1/2", out12 },
        { "expert", "level_phones12", "2", "466", "265", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set attenuation for headset channel 1/2 (10dBu @ 0dB FS: >=8Ohm phones output impedance)", "Attenuation for headset channel 1/2", phones },
        { "expert", "level_phones34", "3", "373", "343", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set attenuation for headset channel 3/4 (10dBu @ 0dB FS: >=8Ohm phones output impedance)", "Attenuation for headset channel 3/4", phones },
        { "expert", "input_gain1", "4", "174", "152", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set balanced input level channel 1 (10dBu 1.1-2kOhm input impedance)", "Balanced input level channel 1", input },
        { "expert", "input_gain2", "5", "174", "176", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set balanced input level channel 2 (10dBu 1.1-2kOhm input impedance)", "Balanced input level channel 2", input2 },
        { "expert", "input_gain34", "6", "226", "343", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set input level channel 3/4 (10dBu 1.1-2kOhm input impedance)", "Input level channel 3/4", input },
        { "expert", "input_gain2_hi_z", "7", "174", "243", "gain_menu_off", "gain_menu_off", "gain_menu_over",
          "Set Hi-Z (guitar) input level channel 2 (10dBu 2-4MOhm input impedance)", "Hi-Z (guitar) input level channel 2", hi_z },
        { "expert", "monitoring", "8", "412", "159", "monitoring_on", "monitoring_off", "monitoring_over", "Turn zero latency hardware monitoring ON or OFF", nullptr, nullptr },
        { "expert", "highz", "9", "216", "170", "hi_z_expert_on", "hi_z_expert_off", "", "Switch input 2 to Hi-Z instrument input (\xe2\x80\x9cguitar input\xe2\x80\x9d)", nullptr, nullptr },
        { "expert", "phantom_power_1", "10", "129", "78", "phantom_power_on", "phantom_power_off", "phantom_power_over", "Turn 48V phantom power for channel 1 ON or OFF", nullptr, nullptr },
        { "expert", "phantom_power_2", "11", "129", "169", "phantom_power_on", "phantom_power_off", "phantom_power_over", "Turn 48V phantom power for channel 2 ON or OFF", nullptr, nullptr },
        { "expert", "headphone", "12", "452", "328", "phones34", "phones12", "", "Select headset source channels 1/2 or 3/4", nullptr, nullptr },
    };

    juce::String picture (const char* name) { return *name != 0 ? "resource::" + juce::String (name) + "_png" : juce::String(); }

    // The element's attributes as "name=value" lines, sorted.
    juce::String attributes (const juce::XmlElement& e)
    {
        juce::StringArray lines;
        for (int i = 0; i < e.getNumAttributes(); ++i)
            lines.add (e.getAttributeName (i) + "=" + e.getAttributeValue (i));
        lines.sort (false);
        return lines.joinIntoString ("\n");
    }
}

TEST (skin_document, every_control_is_where_and_what_the_panel_needs)
{
    auto root = parse_skin();
    auto* device = root->getChildByName ("device");
    for (auto* layout : { "easy", "expert" })
    {
        juce::StringArray expected, found;
        for (auto& row : controls)
            if (juce::String (row.layout) == layout)
                expected.add (row.tag);
        for (auto* child : device->getChildByName (layout)->getChildIterator())
            if (! child->hasTagName ("info") && ! child->hasTagName ("update"))
                found.add (child->getTagName());
        EXPECT_EQ (found, expected) << layout;
    }

    for (auto& row : controls)
    {
        SCOPED_TRACE (juce::String (row.layout) + " " + row.tag);
        auto* e = device->getChildByName (row.layout)->getChildByName (row.tag);
        ASSERT_NE (e, nullptr);
        juce::XmlElement wanted (row.tag);
        for (auto [name, value] : { std::pair { "id", juce::String (row.id) }, { "x", row.x }, { "y", row.y },
                                    { "on", picture (row.on) }, { "off", picture (row.off) }, { "over", picture (row.over) } })
            if (value.isNotEmpty())
                wanted.setAttribute (name, value);
        wanted.setAttribute ("tooltip", juce::String (juce::CharPointer_UTF8 (row.tooltip)));
        if (row.menu != nullptr)
            wanted.setAttribute ("menu", row.menu);
        EXPECT_EQ (attributes (*e), attributes (wanted));
        EXPECT_EQ (items_of (*e), row.items != nullptr ? expanded (row.items) : juce::String());
    }
}

TEST (skin_document, pages_and_style_carry_their_pictures_places_and_texts)
{
    const juce::String url = "https://www.kelto-audio.com/veltrano/en_downloads.php";
    const juce::String download = "off=resource::download_off_png\non=resource::download_on_png\nover=resource::download_over_png\n"
                                  "tooltip=Check available software updates.\nurl=" + url;
    const juce::String version_tip = "tooltip=Displays current driver and firmware version information";
    const std::pair<const char*, juce::String> expected[] = {
        { "style", "size=12\ntab=resource::veltrano_png\ntitle=resource::kelto_png" },
        { "about", "background=resource::about_png" },
        { "about/info", "argb=4287940053\nh=20\ntooltip=Displays the current Kelto Veltrano Control Panel version information\ny=140" },
        { "about/update", "off=resource::about_download_off_png\non=resource::about_download_on_png\nover=resource::about_download_over_png\n"
                          "tooltip=Check available software updates.\nurl=" + url + "\nx=194\ny=12" },
        { "device", "argb=4282007107\nbackground=resource::disabled_png\nstartup=easy" },
        { "device/easy", "alternate=expert\nbackground=resource::easy_png\noff=resource::expert_off_png\non=resource::expert_on_png\n"
                         "over=resource::expert_over_png\ntooltip=Switch to Expert mode\nx=397\ny=15" },
        { "device/easy/info", "h=9\n" + version_tip + "\nw=153\nx=26\ny=22" },
        { "device/easy/update", download + "\nx=178\ny=20" },
        { "device/expert", "alternate=easy\nbackground=resource::expert_png\noff=resource::easy_off_png\non=resource::easy_on_png\n"
                           "over=resource::easy_over_png\ntooltip=Switch to Easy mode\nx=561\ny=16" },
        { "device/expert/info", "h=9\n" + version_tip + "\nw=153\nx=373\ny=23" },
        { "device/expert/update", download + "\nx=524\ny=21" },
    };
    auto root = parse_skin();
    for (auto& [path, lines] : expected)
    {
        const juce::XmlElement* e = root.get();
        for (auto& step : juce::StringArray::fromTokens (path, "/", ""))
            e = e != nullptr ? e->getChildByName (step) : nullptr;
        ASSERT_NE (e, nullptr) << path;
        EXPECT_EQ (attributes (*e), lines) << path;
    }

    juce::StringArray colours;
    for (auto* row : root->getChildByName ("style")->getChildIterator())
        colours.add (row->getTagName() + " " + attributes (*row).replace ("\n", " "));
    EXPECT_EQ (colours, juce::StringArray ({ "Label argb=4282007107 id=text", "TabbedComponent argb=4282007107 id=background",
                                             "TooltipWindow argb=4293261051 id=background", "TooltipWindow argb=4282007107 id=text",
                                             "ResizableWindow argb=4282007107 id=background" }));
}
