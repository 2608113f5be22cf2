#include "app/style.h"
#if ! defined(_WIN32)
#include "app/covering_typeface.h"
#endif
#include "skin/image_lookup.h"
#include "skin/sharp_picture.h"
#include "ui/argb_colour.h"
#include "ui/attribute.h"

namespace
{
    struct colour_row
    {
        const char* tag;
        const char* id;
        int colour_id;
    };

    const colour_row colour_rows[] = {
        { "Label", "text", juce::Label::textColourId },
        { "TabbedComponent", "background", juce::TabbedComponent::backgroundColourId },
        { "TooltipWindow", "background", juce::TooltipWindow::backgroundColourId },
        { "TooltipWindow", "text", juce::TooltipWindow::textColourId },
        { "ResizableWindow", "background", juce::ResizableWindow::backgroundColourId },
    };
}

juce::String chosen_typeface (const juce::XmlElement& element)
{
    // A translation may name a typeface fit for its script; it beats the skin's choice.
    const juce::String key ("typeface.windows");
    const auto translated = juce::translate (key);
    return translated != key ? translated : string_attribute (element, key);
}

style::style (const juce::XmlElement& element)
    : juce::XmlElement (element),
      title (image_lookup (string_attribute (*this, "title"))),
      tab (image_lookup (string_attribute (*this, "tab"))),
      size (juce_integer_attribute (*this, "size", 10))
{
    const auto typeface = chosen_typeface (*this);
#if defined(_WIN32)
    setDefaultSansSerifTypefaceName (typeface);
#else
    // JUCE here has no substitute for a typeface the system lacks ("Microsoft YaHei" is a
    // Windows one) and would draw no text: take one that has the translation's letters.
    if (typeface.isEmpty() || juce::Font::findAllTypefaceNames().contains (typeface))
        setDefaultSansSerifTypefaceName (typeface);
    else if (auto* table = juce::LocalisedStrings::getCurrentMappings())
        setDefaultSansSerifTypeface (covering_typeface (letters_beyond_ascii (*table)));
#endif

    for (auto* child : getChildIterator())
    {
        const auto tag = child->getTagName();
        const auto id = string_attribute (*child, "id");
        for (auto& row : colour_rows)
            if (tag == row.tag && id == row.id)
                setColour (row.colour_id, argb_colour (string_attribute (*child, "argb")));
    }
}

style::~style() = default;

juce::Font style::getPopupMenuFont()
{
    return juce::Font ((float) size);
}

void style::drawDocumentWindowTitleBar (juce::DocumentWindow&, juce::Graphics& g, int w, int h,
                                        int, int, const juce::Image*, bool)
{
    draw_picture (g, title, (w - title.getWidth()) / 2, (h - title.getHeight()) / 2);
}

void style::drawImageButton (juce::Graphics& g, juce::Image* image, int x, int y, int w, int h,
                             const juce::Colour& overlay, float opacity, juce::ImageButton& b)
{
    auto render = sharpest_render (g, *image);
    juce::LookAndFeel_V4::drawImageButton (g, &render, x, y, w, h, overlay, opacity, b);
}

int style::getTabButtonSpaceAroundImage()
{
    return 9;
}

void style::drawTabButton (juce::TabBarButton& button, juce::Graphics& g, bool isMouseOver, bool isMouseDown)
{
    if (button.getButtonText() == juce::translate ("About"))
    {
        juce::LookAndFeel_V4::drawTabButton (button, g, isMouseOver, isMouseDown);
        return;
    }
    const auto area = button.getActiveArea();
    draw_picture (g, tab, area.getX() + (area.getWidth() - tab.getWidth()) / 2,
                          area.getY() + (area.getHeight() - tab.getHeight()) / 2);
}

void style::draw_focus_ring (juce::Graphics& g, juce::Rectangle<float> area)
{
    // The tooltip's light colour stands out on the dark pictures; the window's dark edge
    // keeps it visible on a light one.
    g.setColour (findColour (juce::ResizableWindow::backgroundColourId));
    g.drawRoundedRectangle (area.reduced (0.5f), 4.0f, 1.0f);
    g.setColour (findColour (juce::TooltipWindow::backgroundColourId));
    g.drawRoundedRectangle (area.reduced (2.0f), 3.0f, 2.0f);
}
