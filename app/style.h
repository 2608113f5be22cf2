#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

// The default sans-serif typeface a style element asks for: the current translation's
// "typeface.windows" entry when it has one, else the element's attribute (empty: JUCE's).
juce::String chosen_typeface (const juce::XmlElement& element);

// The look-and-feel built from the skin's `style` element: colours, popup font size,
// typeface, and images in place of the title bar and of every device tab.
class style : public juce::XmlElement, public juce::LookAndFeel_V4
{
public:
    explicit style (const juce::XmlElement& element);
    ~style() override;

    juce::Font getPopupMenuFont() override;
    void drawDocumentWindowTitleBar (juce::DocumentWindow&, juce::Graphics& g, int w, int h,
                                     int titleSpaceX, int titleSpaceW,
                                     const juce::Image* icon, bool drawTitleTextOnLeft) override;
    int getTabButtonSpaceAroundImage() override;
    void drawTabButton (juce::TabBarButton& button, juce::Graphics& g,
                        bool isMouseOver, bool isMouseDown) override;

private:
    juce::Image title;
    juce::Image tab;
    int size;
};
