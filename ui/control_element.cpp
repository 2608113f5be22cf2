#include "ui/control_element.h"
#include "ui/attribute.h"

namespace control_element
{
std::uint32_t parameter (const juce::XmlElement& control)
{
    return static_cast<std::uint32_t> (integer_attribute (control, "id"));
}

std::uint8_t on_value (const juce::XmlElement& control) { return written_byte (integer_attribute (control, "min", 255)); }

std::uint8_t off_value (const juce::XmlElement& control) { return written_byte (integer_attribute (control, "max", 0)); }

bool has_menu (const juce::XmlElement& control)
{
    return has_attribute (control, "menu") || control.getNumChildElements() > 0;
}

std::vector<gain_item> gain_items (const juce::XmlElement& control)
{
    std::vector<gain_item> items;
    for (auto* gain : control.getChildIterator())
        items.push_back ({ integer_attribute (*gain, "step"), string_attribute (*gain, "item") });
    return items;
}

std::optional<juce::String> item_text (const juce::XmlElement& control, int value)
{
    for (const auto& item : gain_items (control))
        if (item.step == value)
            return item.text;
    return std::nullopt;
}

std::uint8_t written_byte (int step) { return static_cast<std::uint8_t> (step & 0xFF); }
} // namespace control_element
