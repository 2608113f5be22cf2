#pragma once

#include "ui/focus_ring.h"

#include <juce_gui_basics/juce_gui_basics.h>

// The default sans-serif typeface a style element asks for: the current translation's
// "typeface.windows" entry when it has one, else the element's attribute (empty: JUCE's).
juce::String chosen_typeface (const juce::XmlElement& element);

// The look-and-feel built from the skin's `style` element: colours, popup font size,
// typeface, images in place of the title bar and of every device tab, and the keyboard's
// focus ring in the skin's colours.
class style : public juce::XmlElement, public juce::LookAndFeel_V4, public focus_ring::LookAndFeelMethods
{
public:
    explicit style (const juce::XmlElement& element);
    ~style() override;

    juce::Font getPopupMenuFont() override;
    void drawDocumentWindowTitleBar (juce::DocumentWindow&, juce::Graphics& g, int w, int h,
                                     int titleSpaceX, int titleSpaceW,
                                     const juce::Image* icon, bool drawTitleTextOnLeft) override;
    // Every image button of the panel draws its picture through here, sharp at any scale.
    void drawImageButton (juce::Graphics& g, juce::Image* image, int x, int y, int w, int h,
                          const juce::Colour& overlay, float opacity, juce::ImageButton& b) override;
    int getTabButtonSpaceAroundImage() override;
    void drawTabButton (juce::TabBarButton& button, juce::Graphics& g,
                        bool isMouseOver, bool isMouseDown) override;
    void draw_focus_ring (juce::Graphics& g, juce::Rectangle<float> area) override;

private:
    juce::Image title;
    juce::Image tab;
    int size;
};
