#include "ui/container.h"

#include <stdexcept>

namespace
{
    // The pages are found by their exact tag; a skin without one cannot build the panel.
    const juce::XmlElement& page_element (const juce::XmlElement& root, const juce::String& tag)
    {
        for (auto* child : root.getChildIterator())
            if (child->getTagName() == tag)
                return *child;
        throw std::invalid_argument (("skin has no " + tag + " element").toStdString());
    }
}

container::container (const juce::XmlElement& root)
    : juce::XmlElement (root),
      juce::TabbedComponent (juce::TabbedButtonBar::TabsAtTop),
      about (page_element (*this, "about"))
{
    setOutline (0);
    setIndent (0);
    addTab (juce::translate ("About"), findColour (juce::TabbedComponent::backgroundColourId, false),
            &about, false, -1);
    setCurrentTabIndex (0);
}

container::~container() = default;
