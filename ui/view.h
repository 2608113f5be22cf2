#pragma once

#include "device/device.h"
#include "ui/button.h"
#include "ui/label.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdint>
#include <deque>
#include <memory>

// The page of one interface: the `easy` or `expert` layout of the skin's `device` element
// with its controls, the version line, the mode and update buttons. Firmware older than
// 1.1.1 gets the disabled picture alone.
class view : public juce::XmlElement,
             public juce::Component,
             public juce::Button::Listener,
             public std::deque<button*>
{
public:
    view (const juce::XmlElement& element, ::device& d);
    ~view() override;

    // Replaces the controls with those of `page`, a layout element of this view's own copy.
    // Throws the invalid-data code, with the old controls already gone, when `page` is null.
    void build_page (const juce::XmlElement* page);
    void clear_page();

    void buttonClicked (juce::Button* b) override;
    void visibilityChanged() override;
    void paint (juce::Graphics& g) override;
    // A group for screen readers, which on a disabled page says why (ui/accessibility.cpp).
    std::unique_ptr<juce::AccessibilityHandler> createAccessibilityHandler() override;

    // Firmware below 1.1.1 has no parameter block the page could show.
    static bool gated (std::uint32_t firmware);
    // "Driver:2.3.4 Firmware: 1.2.3", its two words translated.
    static juce::String version_line (std::uint32_t driver, std::uint32_t firmware);

    const juce::ImageButton& mode_button() const { return mode; }
    const juce::ImageButton& update_button() const { return update; }
    const label* information() const { return info.get(); }
    const juce::Image& picture() const { return background; }

private:
    const juce::XmlElement* layout (const juce::String& tag) const;

    // JUCE's Image is final, so the picture is the first member rather than a base.
    juce::Image background;
    qv::reference<::device> device;
    juce::ImageButton mode;
    juce::ImageButton update;
    std::unique_ptr<label> info;
};
