#pragma once

#include <juce_core/juce_core.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ctl
{
// One value a control can be set to: the byte it writes and its word.
struct choice
{
    std::uint8_t byte;
    std::string text;
};

// One control of the interface as the command line names it: read from the skin's
// control elements, with a stable name of its own.
struct control
{
    std::string name;
    std::uint32_t byte; // index in the parameter block
    std::string tooltip;
    bool is_switch;
    // A switch: its on value, then its off value. A gain menu: its items, in menu order.
    std::vector<choice> choices;

    // The value in words, as the panel shows it: a switch is on only at its on value; a
    // menu byte that no item names has no word (empty).
    std::string word (std::uint8_t value) const;
};

// Every control of the skin's layouts, once each, in block order. `skin` is the root
// element of the skin document.
std::vector<control> read_controls (const juce::XmlElement& skin);

// The control named `name`, or nullptr.
const control* find_control (const std::vector<control>& controls, const std::string& name);
} // namespace ctl
