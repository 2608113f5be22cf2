#pragma once

#include <juce_core/juce_core.h>

#include <cstdint>
#include <optional>
#include <vector>

// What a control element of the skin asks of the device, read the one way the panel's
// controls and the command-line tool both read it.
namespace control_element
{
// The `id`: index of the controlled byte in the parameter block; 0 when absent.
std::uint32_t parameter (const juce::XmlElement& control);

// A switch is on at its `min` (255 when absent) and off at its `max` (0 when absent).
std::uint8_t on_value (const juce::XmlElement& control);
std::uint8_t off_value (const juce::XmlElement& control);

// A `menu` title or any child makes a gain menu; anything else is a switch.
bool has_menu (const juce::XmlElement& control);

// Each child of a gain menu, in document order: the step it writes and its text.
struct gain_item
{
    int step;
    juce::String text;
};
std::vector<gain_item> gain_items (const juce::XmlElement& control);

// The text of the first item whose step is `value`; none when no item has it.
std::optional<juce::String> item_text (const juce::XmlElement& control, int value);

// The byte a chosen step writes: its low eight bits (0 writes nothing).
std::uint8_t written_byte (int step);
} // namespace control_element
