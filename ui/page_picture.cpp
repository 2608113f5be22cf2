#include "ui/page_picture.h"

void paint_page_picture (juce::Graphics& g, const juce::Image& picture)
{
    const int w = picture.getWidth();
    const int h = picture.getHeight();
    g.drawImage (picture, 0, 0, w, h, 0, 0, w, h, false);
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
}
