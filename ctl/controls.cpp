#include "ctl/controls.h"
#include "ui/attribute.h"
#include "ui/control_element.h"
#include "device/qv/protocol.h"

#include <algorithm>
#include <iterator>

namespace ctl
{
namespace
{
// Names a script can rely on, so they never follow a rename in the skin. Switches say
// what their two states mean; the headset source is "1/2" when on, as the start-up (easy)
// page pictures it.
struct naming
{
    const char* tag;
    const char* name;
    const char* on = "on";
    const char* off = "off";
};

const naming names[] = {
    { "level_out12", "output-12" },
    { "level_phones12", "headset-12" },
    { "level_phones34", "headset-34" },
    { "input_gain1", "gain-1" },
    { "input_gain2", "gain-2" },
    { "input_gain34", "gain-34" },
    { "input_gain2_hi_z", "gain-2-hi-z" },
    { "monitoring", "monitoring" },
    { "highz", "hi-z" },
    { "phantom_power_1", "phantom-1" },
    { "phantom_power_2", "phantom-2" },
    { "headphone", "headset-source", "1/2", "3/4" },
};

struct words
{
    std::string name, on, off;
};

// A control the table does not know yet keeps its tag, in the same spelling.
words words_of (const juce::String& tag)
{
    for (const auto& n : names)
        if (tag == n.tag)
            return { n.name, n.on, n.off };
    return { tag.replaceCharacter ('_', '-').toLowerCase().toStdString(), "on", "off" };
}

bool is_layout_child_control (const juce::XmlElement& e) { return ! e.hasTagName ("info") && ! e.hasTagName ("update"); }

control read_control (const juce::XmlElement& element)
{
    const auto n = words_of (element.getTagName());
    control c { n.name, control_element::parameter (element), string_attribute (element, "tooltip").toStdString(),
                ! control_element::has_menu (element), {} };
    if (c.is_switch)
    {
        c.choices = { { control_element::on_value (element), n.on }, { control_element::off_value (element), n.off } };
        return c;
    }
    // A step whose byte is 0 writes nothing in the panel: it is no value to set.
    for (const auto& item : control_element::gain_items (element))
        if (item.step > 0 && item.step <= 255)
            c.choices.push_back ({ control_element::written_byte (item.step), item.text.toStdString() });
    return c;
}
} // namespace

std::string control::word (std::uint8_t value) const
{
    if (is_switch)
        return value == choices[0].byte ? choices[0].text : choices[1].text;
    for (const auto& c : choices)
        if (c.byte == value)
            return c.text;
    return {};
}

std::vector<control> read_controls (const juce::XmlElement& skin)
{
    std::vector<control> controls;
    std::vector<juce::String> seen;
    const auto* device = skin.getChildByName ("device");
    if (device == nullptr)
        return controls;
    // Both layouts: a control on either drives its byte; the same tag is the same control.
    for (const auto* layout : device->getChildIterator())
        for (const auto* element : layout->getChildIterator())
        {
            const auto tag = element->getTagName();
            if (! is_layout_child_control (*element) || std::find (seen.begin(), seen.end(), tag) != seen.end())
                continue;
            seen.push_back (tag);
            auto c = read_control (*element);
            if (c.byte < qv::protocol::block_size)
                controls.push_back (std::move (c));
        }
    std::stable_sort (controls.begin(), controls.end(), [] (const control& a, const control& b) { return a.byte < b.byte; });
    return controls;
}

const control* find_control (const std::vector<control>& controls, const std::string& name)
{
    const auto found = std::find_if (controls.begin(), controls.end(), [&] (const control& c) { return c.name == name; });
    return found != controls.end() ? &*found : nullptr;
}
} // namespace ctl
