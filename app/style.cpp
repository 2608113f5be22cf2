#include "app/style.h"
#include "skin/image_lookup.h"
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

    void draw_whole (juce::Graphics& g, const juce::Image& image, int x, int y)
    {
        g.drawImage (image, x, y, image.getWidth(), image.getHeight(),
                     0, 0, image.getWidth(), image.getHeight(), false);
    }
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
    // A typeface this system lacks would draw no text at all (JUCE on Linux has no
    // substitute for it, and "Microsoft YaHei" exists on Windows only): keep the default.
    const auto typeface = chosen_typeface (*this);
    if (typeface.isEmpty() || juce::Font::findAllTypefaceNames().contains (typeface))
        setDefaultSansSerifTypefaceName (typeface);

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
    draw_whole (g, title, (w - title.getWidth()) / 2, (h - title.getHeight()) / 2);
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
    draw_whole (g, tab, area.getX() + (area.getWidth() - tab.getWidth()) / 2,
                        area.getY() + (area.getHeight() - tab.getHeight()) / 2);
}
