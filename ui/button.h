#pragma once

#include "device/device.h"
#include "ui/control_element.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdint>
#include <functional>

// One device control: a switch that toggles its parameter byte between `min` (on) and
// `max` (off), or a button whose menu of gain steps writes the chosen step. Either way
// the whole block is read, the byte set and the block written back.
class button : public juce::XmlElement, public juce::ImageButton, public juce::PopupMenu
{
public:
    button (const juce::XmlElement& element, ::device& d);
    ~button() override;

    // A switch takes its look from the device's byte; a menu button stays as it is.
    void refresh();

    // What a click does; JUCE calls it, public so that a click can be made without a mouse.
    void clicked() override;

    // Named, with its role, state and value, for screen readers (ui/accessibility.cpp).
    std::unique_ptr<juce::AccessibilityHandler> createAccessibilityHandler() override;

    // A `menu` title or any gain child makes a menu button.
    bool is_menu() const { return control_element::has_menu (*this); }

    // What a switch click does with the byte as it stands: whether it shows on, and the
    // value it writes.
    struct switch_step
    {
        bool shown_on;
        std::uint8_t value;
    };
    static switch_step toggle (std::uint8_t current, std::uint8_t on, std::uint8_t off);

    // Fills `menu` from a control element: its translated header, then one item per child.
    static void fill_menu (juce::PopupMenu& menu, const juce::XmlElement& element);

    // Runs the menu modally and returns the chosen result id, 0 when dismissed. Tests,
    // which have no display for a real menu, put their own choice here.
    static std::function<int (juce::PopupMenu&, const juce::PopupMenu::Options&)> show_menu;

    std::uint32_t parameter() const { return id; }
    // The device's byte for this control; -1 when the id lies beyond the block.
    int parameter_value() const;
    std::uint8_t on_value() const { return min; }
    std::uint8_t off_value() const { return max; }

private:
    std::uint8_t* byte() const;

    qv::reference<::device> device;
    std::uint32_t id;
    std::uint8_t min;
    std::uint8_t max;
    int announced = -1; // the value a menu button last told assistive technology
};
