#include "ui/button.h"
#include "ui/accessibility.h"
#include "ui/attribute.h"
#include "ui/control_element.h"
#include "skin/image_lookup.h"

#include <utility>

namespace
{
    // No image carries this name, so a control without the attribute gets a null image.
    const juce::String no_image ("resource::???");
}

std::function<int (juce::PopupMenu&, const juce::PopupMenu::Options&)> button::show_menu =
    [] (juce::PopupMenu& menu, const juce::PopupMenu::Options& options) { return menu.showMenu (options); };

button::button (const juce::XmlElement& element, ::device& d)
    : juce::XmlElement (element),
      juce::ImageButton (element.getTagName()),
      device (&d),
      id (control_element::parameter (*this)),
      min (control_element::on_value (*this)),
      max (control_element::off_value (*this))
{
    const auto down = image_lookup (string_attribute (*this, "on", no_image));
    const auto over = image_lookup (string_attribute (*this, "over", no_image));
    const auto normal = image_lookup (string_attribute (*this, "off", no_image));
    setImages (true, true, true,
               normal, 1.0f, juce::Colour(),
               over, 1.0f, juce::Colour(),
               down, 1.0f, juce::Colour(),
               0.0f);

    const int y = integer_attribute (*this, "y");
    const int x = integer_attribute (*this, "x");
    setBounds (x, y, getWidth(), getHeight());
    setTooltip (juce::translate (string_attribute (*this, "tooltip")));

    fill_menu (*this, *this);
    refresh();
}

// The device reference goes first, then the menu, the component and the element.
button::~button() = default;

std::uint8_t* button::byte() const
{
    // Only 0..15 address the block; a control beyond it shows off and writes nothing.
    return id < sizeof device->parameters ? &device->parameters[id] : nullptr;
}

void button::fill_menu (juce::PopupMenu& menu, const juce::XmlElement& element)
{
    if (has_attribute (element, "menu"))
        menu.addSectionHeader (juce::translate (string_attribute (element, "menu")));
    for (const auto& item : control_element::gain_items (element))
        menu.addItem (item.step, item.text, true, false);
}

button::switch_step button::toggle (std::uint8_t current, std::uint8_t on, std::uint8_t off)
{
    // A byte that is neither value shows off and is set off: it stays off.
    const bool to_on = current == off;
    return { to_on, to_on ? on : off };
}

int button::parameter_value() const
{
    auto* current = byte();
    return current != nullptr ? *current : -1;
}

void button::refresh()
{
    if (is_menu())
    {
        if (std::exchange (announced, parameter_value()) != parameter_value())
            accessibility::value_changed (*this);
        return;
    }
    // A new toggle state reaches assistive technology through JUCE.
    auto* current = byte();
    setToggleState (current != nullptr && *current == min, juce::dontSendNotification);
}

void button::clicked()
{
    if (byte() == nullptr)
        return;

    std::uint8_t value = 0;
    if (is_menu())
    {
        juce::Component::SafePointer<button> alive (this);
        // Opened from the keyboard or a screen reader, the menu appears at the control.
        auto options = juce::PopupMenu::Options();
        if (! isMouseOver (true))
            options = options.withTargetComponent (this);
        value = control_element::written_byte (show_menu (*this, options));
        if (alive == nullptr)
            return; // the interface went while the menu was open, and its page with it
        if (value == 0)
            return; // dismissed: the device is not touched
    }
    else
    {
        const auto step = toggle (*byte(), min, max);
        // Shown before the device is written, so the click feels immediate.
        setToggleState (step.shown_on, juce::dontSendNotification);
        value = step.value;
    }

    // The whole block round-trips so that the other bytes carry what the interface has now.
    juce::MouseCursor::showWaitCursor();
    device->change ([this, value] (auto& block) { block[id] = value; });
    juce::MouseCursor::hideWaitCursor();
}
