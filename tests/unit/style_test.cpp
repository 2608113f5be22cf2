#include <gtest/gtest.h>

#include "app/skin_root.h"
#include "app/style.h"
#include "skin/embedded.h"
#include "skin/image_lookup.h"
#include "skin/translation_tables.h"
#include "tests/support/file_beside_program.h"
#include "ui/about.h"

namespace
{
    std::unique_ptr<juce::XmlElement> skin_style()
    {
        auto root = parse_skin();
        return std::make_unique<juce::XmlElement> (*root->getChildByName ("style"));
    }

    std::unique_ptr<juce::XmlElement> xml (const char* text)
    {
        return juce::parseXML (juce::String (text));
    }

    // Pixels of `drawn` inside `area` equal `picture`, and nothing is drawn outside it.
    ::testing::AssertionResult drawn_alone_at (const juce::Image& drawn, const juce::Image& picture, int x, int y)
    {
        for (int py = 0; py < drawn.getHeight(); ++py)
            for (int px = 0; px < drawn.getWidth(); ++px)
            {
                const bool inside = px >= x && py >= y && px < x + picture.getWidth() && py < y + picture.getHeight();
                const auto expected = inside ? picture.getPixelAt (px - x, py - y) : juce::Colours::transparentBlack;
                if (drawn.getPixelAt (px, py).getARGB() != expected.getARGB())
                    return ::testing::AssertionFailure() << "pixel " << px << "," << py << " is "
                           << drawn.getPixelAt (px, py).toString() << ", expected " << expected.toString();
            }
        return ::testing::AssertionSuccess();
    }

    // A picture as the build rendered it and compiled it in.
    juce::Image embedded_render (const juce::String& file)
    {
        auto* png = find_embedded (skin::images::files, file.toStdString());
        return png == nullptr ? juce::Image() : juce::ImageFileFormat::loadFrom (png->data, png->size);
    }

    struct tab_bar
    {
        explicit tab_bar (style& look)
        {
            bar.setLookAndFeel (&look);
            bar.addTab ("/run/kelto-veltrano/interface-1", juce::Colours::grey, -1);
            bar.addTab ("About", juce::Colours::grey, -1);
            bar.addTab (juce::CharPointer_UTF8 ("\xc3\x9c" "ber"), juce::Colours::grey, -1);
            bar.setBounds (0, 0, 600, 30);
        }
        ~tab_bar() { bar.setLookAndFeel (nullptr); }

        juce::Image draw (style& look, int index, bool over = false, bool down = false)
        {
            auto& button = *bar.getTabButton (index);
            juce::Image image (juce::Image::ARGB, button.getWidth(), button.getHeight(), true);
            juce::Graphics g (image);
            look.drawTabButton (button, g, over, down);
            return image;
        }

        // The tab picture centred in the active area, and nothing else.
        ::testing::AssertionResult shows_picture (style& look, int index)
        {
            const auto picture = image_lookup ("resource::veltrano_png");
            const auto area = bar.getTabButton (index)->getActiveArea();
            return drawn_alone_at (draw (look, index), picture,
                                   area.getX() + (area.getWidth() - picture.getWidth()) / 2,
                                   area.getY() + (area.getHeight() - picture.getHeight()) / 2);
        }

        // Exactly what JUCE's own look-and-feel draws.
        ::testing::AssertionResult shows_default (style& look, int index)
        {
            auto& button = *bar.getTabButton (index);
            juce::Image expected (juce::Image::ARGB, button.getWidth(), button.getHeight(), true);
            {
                juce::LookAndFeel_V4 plain;
                juce::Graphics g (expected);
                plain.drawTabButton (button, g, false, false);
            }
            return drawn_alone_at (draw (look, index), expected, 0, 0);
        }

        juce::TabbedButtonBar bar { juce::TabbedButtonBar::TabsAtTop };
    };
}

TEST (style, colour_rows_need_tag_and_id_to_match_exactly)
{
    style look (*xml ("<style>"
                          "<Label id=\"background\" argb=\"4278190335\"/>"          // not a row of the table
                          "<label id=\"text\" argb=\"4278190335\"/>"                // tag in the wrong case
                          "<TooltipWindow id=\"text\"/>"                            // no argb: transparent black
                          "<TooltipWindow id=\"background\" argb=\"2\"/>"
                          "<TabbedComponent id=\"background\" argb=\"16711680\"/>"  // alpha 0 stays 0
                          "<ResizableWindow id=\"background\" argb=\"1\"/>"
                          "<ResizableWindow id=\"background\" argb=\"4294967295\"/>" // the later row wins
                          "</style>"));
    const juce::LookAndFeel_V4 plain;
    EXPECT_EQ (look.findColour (juce::Label::textColourId), plain.findColour (juce::Label::textColourId));
    EXPECT_EQ (look.findColour (juce::Label::backgroundColourId), plain.findColour (juce::Label::backgroundColourId));
    EXPECT_EQ (look.findColour (juce::TooltipWindow::textColourId).getARGB(), 0u);
    EXPECT_EQ (look.findColour (juce::TooltipWindow::backgroundColourId).getARGB(), 2u);
    EXPECT_EQ (look.findColour (juce::TabbedComponent::backgroundColourId).getARGB(), 0x00FF0000u);
    EXPECT_EQ (look.findColour (juce::ResizableWindow::backgroundColourId).getARGB(), 0xFFFFFFFFu);
}

TEST (style, popup_font_size_reads_leading_digits_and_defaults_to_10)
{
    EXPECT_EQ (style (*xml ("<style/>")).getPopupMenuFont().getHeight(), 10.0f);
    EXPECT_EQ (style (*xml ("<style/>")).getTabButtonSpaceAroundImage(), 9);
    EXPECT_EQ (style (*xml ("<style size=\"14pt\"/>")).getPopupMenuFont().getHeight(), 14.0f);
    // No digits reads as 0, which JUCE's font clamps to its smallest height.
    EXPECT_LT (style (*xml ("<style size=\"big\"/>")).getPopupMenuFont().getHeight(), 1.0f);
}

TEST (style, a_translation_names_the_typeface_before_the_skin)
{
    auto with_attribute = xml ("<style typeface.windows=\"Skin Sans\"/>");
    auto without = xml ("<style/>");
    EXPECT_EQ (chosen_typeface (*with_attribute), "Skin Sans");
    EXPECT_EQ (chosen_typeface (*without), "");
    {
        scoped_translation chinese (translation_tables::chinese());
        EXPECT_EQ (chosen_typeface (*with_attribute), "Microsoft YaHei");
        EXPECT_EQ (chosen_typeface (*without), "Microsoft YaHei");
    }
}

#if defined(_WIN32)
TEST (style, the_typeface_is_handed_on_as_named)
{
    // Windows finds a face for any name itself.
    style look (*xml ("<style typeface.windows=\"No Such Typeface 7f3a\"/>"));
    juce::LookAndFeel_V4 named;
    named.setDefaultSansSerifTypefaceName ("No Such Typeface 7f3a");
    EXPECT_EQ (look.getTypefaceForFont (juce::Font())->getName(), named.getTypefaceForFont (juce::Font())->getName());
}
#else
namespace
{
    // One letter drawn large in white on transparent.
    juce::Image letter (juce::LookAndFeel& look, juce::juce_wchar c)
    {
        juce::Image image (juce::Image::ARGB, 48, 48, true);
        juce::Graphics g (image);
        g.setColour (juce::Colours::white);
        g.setFont (juce::Font (look.getTypefaceForFont (juce::Font())).withHeight (40.0f));
        g.drawText (juce::String::charToString (c), image.getBounds(), juce::Justification::centred);
        return image;
    }
}

TEST (style, a_missing_typeface_gives_way_to_one_with_the_translations_letters)
{
    const juce::LookAndFeel_V4 plain;
    const auto default_name = const_cast<juce::LookAndFeel_V4&> (plain).getTypefaceForFont (juce::Font())->getName();
    {
        // Nothing to cover: the default stays.
        style look (*xml ("<style typeface.windows=\"No Such Typeface 7f3a\"/>"));
        EXPECT_EQ (look.getTypefaceForFont (juce::Font())->getName(), default_name);
    }

    // The Chinese table names a Windows typeface. A face without its letters draws every one
    // as the same box, or nothing: two letters of "About" must differ and show.
    scoped_translation chinese (translation_tables::chinese());
    style look (*skin_style());
    const auto about = juce::translate ("About");
    ASSERT_GE (about.length(), 2);
    const auto first = letter (look, about[0]), second = letter (look, about[1]);
    EXPECT_FALSE (drawn_alone_at (first, second, 0, 0));
    EXPECT_FALSE (drawn_alone_at (first, juce::Image(), 0, 0)) << "nothing drawn";
}
#endif

TEST (style, an_installed_typeface_is_taken)
{
    const auto installed = juce::Font::findAllTypefaceNames();
    ASSERT_FALSE (installed.isEmpty());
    const auto other = installed[installed.size() - 1];
    auto element_with_other = xml ("<style/>");
    element_with_other->setAttribute ("typeface.windows", other);
    style chosen (*element_with_other);
    EXPECT_EQ (chosen.getTypefaceForFont (juce::Font())->getName(), other);
}

// Every way a picture reaches the window: at scale 1 the picture itself, unscaled; at scale 2
// (a high-resolution screen) its 2x render, into the same logical rectangle.
TEST (style, pictures_are_drawn_as_they_are_at_scale_1_and_from_their_2x_render_at_scale_2)
{
    const auto skin_root = parse_skin();
    style look (*skin_root->getChildByName ("style"));
    juce::DocumentWindow owner ("Kelto Veltrano", juce::Colours::black, juce::DocumentWindow::closeButton, false);
    tab_bar tabs (look);
    const auto tab = tabs.bar.getTabButton (0)->getActiveArea();
    about page (*skin_root->getChildByName ("about"));
    juce::ImageButton control;
    control.setLookAndFeel (&look);
    control.setImages (true, true, true, image_lookup ("resource::phantom_power_off_png"), 1.0f, {},
                       {}, 1.0f, {}, {}, 1.0f, {}, 0.0f);

    struct route { const char* what; const char* file; int w, h, x, y; std::function<void (juce::Graphics&)> draw; };
    const route routes[] = {
        // A canvas larger than the page: nothing is drawn beyond its picture.
        { "page", "about", 500, 200, 0, 0, [&] (juce::Graphics& g) { page.paint (g); } },
        { "title bar", "kelto", 475, 19, 205, 4,
          [&] (juce::Graphics& g) { look.drawDocumentWindowTitleBar (owner, g, 475, 19, 0, 475, nullptr, false); } },
        { "device tab", "veltrano", tabs.bar.getTabButton (0)->getWidth(), tabs.bar.getTabButton (0)->getHeight(),
          tab.getX() + (tab.getWidth() - 71) / 2, tab.getY() + (tab.getHeight() - 7) / 2,
          [&] (juce::Graphics& g) { look.drawTabButton (*tabs.bar.getTabButton (0), g, false, false); } },
        { "image button", "phantom_power_off", 39, 33, 0, 0, [&] (juce::Graphics& g) { control.paintEntireComponent (g, false); } },
    };
    for (auto& r : routes)
        for (int scale : { 1, 2 })
        {
            juce::Image drawn (juce::Image::ARGB, r.w * scale, r.h * scale, true);
            {
                juce::Graphics g (drawn);
                g.addTransform (juce::AffineTransform::scale ((float) scale));
                r.draw (g);
            }
            const auto render = embedded_render (juce::String (r.file) + (scale == 1 ? ".png" : "@2x.png"));
            EXPECT_TRUE (drawn_alone_at (drawn, render, r.x * scale, r.y * scale)) << r.what << " at scale " << scale;
        }
    control.setLookAndFeel (nullptr);
}

TEST (style, device_tabs_ignore_hover_and_only_the_translated_about_keeps_the_default_look)
{
    style look (*skin_style());
    tab_bar tabs (look);
    const auto normal = tabs.draw (look, 0);
    EXPECT_TRUE (drawn_alone_at (tabs.draw (look, 0, true, false), normal, 0, 0));
    EXPECT_TRUE (drawn_alone_at (tabs.draw (look, 0, true, true), normal, 0, 0));
    EXPECT_TRUE (tabs.shows_default (look, 1));
    EXPECT_TRUE (tabs.shows_picture (look, 2));

    // In German "Über" is the About tab, and a tab still titled "About" is an ordinary one.
    scoped_translation german (translation_tables::german());
    EXPECT_TRUE (tabs.shows_picture (look, 1));
    EXPECT_TRUE (tabs.shows_default (look, 2));
}
