#include "ui/accessibility.h"
#include "ui/button.h"
#include "ui/label.h"
#include "ui/view.h"

namespace
{
    class read_only_text : public juce::AccessibilityTextValueInterface
    {
    public:
        explicit read_only_text (std::function<juce::String()> text) : text (std::move (text)) {}
        bool isReadOnly() const override { return true; }
        juce::String getCurrentValueAsString() const override { return text(); }
        void setValueAsString (const juce::String&) override {}

    private:
        std::function<juce::String()> text;
    };

    class control_handler : public juce::AccessibilityHandler
    {
    public:
        explicit control_handler (button& b)
            : juce::AccessibilityHandler (b, b.is_menu() ? juce::AccessibilityRole::button : juce::AccessibilityRole::toggleButton,
                                          actions (b),
                                          { std::make_unique<read_only_text> ([&b] { return accessibility::value_of (b); }) }),
              control (b)
        {
        }

        juce::AccessibleState getCurrentState() const override
        {
            const auto state = juce::AccessibilityHandler::getCurrentState();
            if (control.is_menu())
                return state.withExpandable();
            return control.getToggleState() ? state.withCheckable().withChecked() : state.withCheckable();
        }

    private:
        // Whatever a screen reader asks for is a click: the switch toggles, the gain
        // control opens its menu.
        static juce::AccessibilityActions actions (button& b)
        {
            const auto click = [&b] { b.triggerClick(); };
            return juce::AccessibilityActions()
                .addAction (juce::AccessibilityActionType::press, click)
                .addAction (b.is_menu() ? juce::AccessibilityActionType::showMenu : juce::AccessibilityActionType::toggle, click);
        }

        const button& control;
    };

    class page_handler : public juce::AccessibilityHandler
    {
    public:
        page_handler (juce::Component& page, bool disabled)
            : juce::AccessibilityHandler (page, juce::AccessibilityRole::group), disabled (disabled)
        {
        }

        juce::String getTitle() const override
        {
            return disabled ? accessibility::disabled_page() : juce::AccessibilityHandler::getTitle();
        }

    private:
        const bool disabled;
    };
}

std::function<void (juce::Component&)> accessibility::value_changed = [] (juce::Component& c)
{
    if (auto* handler = c.getAccessibilityHandler())
        handler->notifyAccessibilityEvent (juce::AccessibilityEvent::valueChanged);
};

juce::String accessibility::value_of (const button& control)
{
    if (! control.is_menu())
        return juce::translate (control.getToggleState() ? "On" : "Off");
    const int step = control.parameter_value();
    return control_element::item_text (control, step).value_or (juce::String (step));
}

juce::String accessibility::disabled_page()
{
    return juce::translate ("The firmware of this interface is older than 1.1.1. Update the firmware to use the control panel with it.");
}

std::unique_ptr<juce::AccessibilityHandler> button::createAccessibilityHandler()
{
    return std::make_unique<control_handler> (*this);
}

std::unique_ptr<juce::AccessibilityHandler> label::createAccessibilityHandler()
{
    return std::make_unique<juce::AccessibilityHandler> (
        *this, juce::AccessibilityRole::staticText, juce::AccessibilityActions(),
        juce::AccessibilityHandler::Interfaces { std::make_unique<read_only_text> ([this] { return getText(); }) });
}

std::unique_ptr<juce::AccessibilityHandler> view::createAccessibilityHandler()
{
    return std::make_unique<page_handler> (*this, gated (device->firmware));
}
