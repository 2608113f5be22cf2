#pragma once

#include <juce_graphics/juce_graphics.h>

// Where a window is drawn at a scale above 1 (a high-resolution screen), a skin picture is
// drawn from its 2x render into the same logical rectangle, so that every device pixel of it
// is sharp; at scale 1, and for a picture without a 2x render, the picture itself is drawn.
// Pages, buttons and the style all draw their pictures through here.

// The render to draw `picture` from on `g`.
juce::Image sharpest_render (juce::Graphics& g, const juce::Image& picture);

// Draws `picture` whole, at its own logical size, with its top-left corner at x, y.
void draw_picture (juce::Graphics& g, const juce::Image& picture, int x, int y);
