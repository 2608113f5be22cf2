#include "skin/sharp_picture.h"
#include "skin/image_lookup.h"

juce::Image sharpest_render (juce::Graphics& g, const juce::Image& picture)
{
    if (g.getInternalContext().getPhysicalPixelScaleFactor() > 1.0f)
        if (auto sharp = double_size_render (picture); sharp.isValid())
            return sharp;
    return picture;
}

void draw_picture (juce::Graphics& g, const juce::Image& picture, int x, int y)
{
    const auto render = sharpest_render (g, picture);
    g.drawImage (render, x, y, picture.getWidth(), picture.getHeight(),
                 0, 0, render.getWidth(), render.getHeight(), false);
}
