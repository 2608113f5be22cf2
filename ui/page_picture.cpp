#include "ui/page_picture.h"
#include "skin/sharp_picture.h"

void paint_page_picture (juce::Graphics& g, const juce::Image& picture)
{
    draw_picture (g, picture, 0, 0);
}

void fit_tabs_to_page_picture (juce::Component& page, const juce::Image& picture)
{
    if (! page.isVisible())
        return;
    // A page outside a tabbed component (a test, a later reuse) has nothing to resize.
    auto* tabs = dynamic_cast<juce::TabbedComponent*> (page.getParentComponent());
    if (tabs == nullptr)
        return;
    tabs->setBounds (tabs->getX(), tabs->getY(),
                     picture.getWidth(), picture.getHeight() + tabs->getTabBarDepth());
    // The window grew with the tabs, but JUCE asked for its repaint while the native window
    // was still small; after Return on the mode button nothing on Linux repainted the new
    // part. Ask again now that the window has its size.
    tabs->getTopLevelComponent()->repaint();
}
