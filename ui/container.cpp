#include "ui/container.h"
#include "ui/view.h"

#include <memory>
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

void container::add_tab (juce::TabbedComponent& tabs, const juce::String& title, juce::Component* page, bool owned, int index)
{
    // JUCE's tab bar refuses an empty title, and its tabbed component would then hold one
    // page more than it has tabs: add the tab under a stand-in title, then give it its own.
    const int at = juce::isPositiveAndBelow (index, tabs.getNumTabs()) ? index : tabs.getNumTabs();
    tabs.addTab (title.isEmpty() ? juce::String (" ") : title,
                 tabs.findColour (juce::TabbedComponent::backgroundColourId, false), page, owned, at);
    if (title.isEmpty())
        tabs.setTabName (at, title);
}

container::container (const juce::XmlElement& root)
    : juce::XmlElement (root),
      juce::TabbedComponent (juce::TabbedButtonBar::TabsAtTop),
      about (page_element (*this, "about"))
{
    setOutline (0);
    setIndent (0);
    add_tab (*this, juce::translate ("About"), &about, false, -1);

    // The driver listed the interfaces present while this class was not built yet.
    for (auto& d : static_cast<qv::driver<os_result, device>&> (*this))
        on_arrival (*d);

    setCurrentTabIndex (0);
}

// The About page goes first, then the driver with its devices, then the tabs with the
// views still in them. The driver announces nothing on the way.
container::~container() = default;

juce::String container::title_of (const std::string& path)
{
    juce::String title;
    title.preallocateBytes (path.size() * 2);
    for (unsigned char c : path)
        title += juce::String::charToString (static_cast<juce::juce_wchar> (c));
    return title;
}

void container::on_arrival (device& d)
{
    auto page = std::make_unique<view> (page_element (*this, "device"), d);
    d.page = page.get();
    add_tab (*this, title_of (d), page.release(), true, getNumTabs() - 1);
}

void container::on_removal (device& d)
{
    for (int index = getNumTabs() - 1; index >= 0; --index)
    {
        if (getTabContentComponent (index) != d.page)
            continue;

        const bool shown = index == getCurrentTabIndex();
        removeTab (index);
        if (shown)
            setCurrentTabIndex (0);
        return;
    }
}
