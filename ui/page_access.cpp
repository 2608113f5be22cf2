#include "ui/page_access.h"

#include <algorithm>

std::vector<juce::Component*> reading_order (std::vector<juce::Component*> components)
{
    std::stable_sort (components.begin(), components.end(),
                      [] (const juce::Component* a, const juce::Component* b) { return a->getY() < b->getY(); });
    for (auto row = components.begin(); row != components.end();)
    {
        const int bottom = (*row)->getBottom();
        const auto end = std::find_if (std::next (row), components.end(),
                                       [bottom] (const juce::Component* c) { return c->getBounds().getCentreY() >= bottom; });
        std::stable_sort (row, end, [] (const juce::Component* a, const juce::Component* b) { return a->getX() < b->getX(); });
        row = end;
    }
    return components;
}

void make_accessible (juce::Component& page)
{
    page.setFocusContainerType (juce::Component::FocusContainerType::keyboardFocusContainer);

    std::vector<juce::Component*> shown;
    for (auto* child : page.getChildren())
    {
        // A button without a picture has no size: nobody could tell where the focus went.
        const bool seen = child->isVisible() && ! child->getBounds().isEmpty();
        child->setWantsKeyboardFocus (seen && dynamic_cast<juce::Button*> (child) != nullptr);
        if (seen)
            shown.push_back (child);
        if (auto* tip = dynamic_cast<juce::SettableTooltipClient*> (child))
            child->setTitle (tip->getTooltip());
    }

    // Labels are numbered too, so that screen readers read the page in the same order.
    int order = 0;
    for (auto* child : reading_order (shown))
        child->setExplicitFocusOrder (++order);
}
