#pragma once

#include "device/device.h"
#include "ui/about.h"

#include <juce_gui_basics/juce_gui_basics.h>

// The tabbed body of the main window and the list of connected interfaces at once: one
// tab per interface, in order of arrival, and the About tab last.
class container : public juce::XmlElement,
                  public juce::TabbedComponent,
                  public qv::driver<os_result, device>
{
public:
    explicit container (const juce::XmlElement& root);
    ~container() override;

    void on_arrival (device& d) override;
    void on_removal (device& d) override;

    // A device tab's title: the interface path, one character per byte, untranslated.
    static juce::String title_of (const std::string& path);
    // Adds `page` before `index` (at the end when out of range) under `title`, which may be
    // empty, in the tab colour.
    static void add_tab (juce::TabbedComponent& tabs, const juce::String& title, juce::Component* page, bool owned, int index);

private:
    ::about about;
};
