#include "ui/keyboard.h"

#include <utility>

keyboard::keyboard (juce::Component& w, juce::TabbedComponent& t) : window (w), tabs (t)
{
    window.addKeyListener (this);
    juce::Desktop::getInstance().addGlobalMouseListener (this);
    juce::Desktop::getInstance().addFocusChangeListener (this);
}

keyboard::~keyboard()
{
    juce::Desktop::getInstance().removeFocusChangeListener (this);
    juce::Desktop::getInstance().removeGlobalMouseListener (this);
    window.removeKeyListener (this);
}

bool keyboard::keyPressed (const juce::KeyPress& key, juce::Component*)
{
    auto* focused = juce::Component::getCurrentlyFocusedComponent();
    if (! std::exchange (in_use, true))
        ring (focused);

    const auto code = key.getKeyCode();
    const auto modifiers = key.getModifiers();
    if (modifiers.isCtrlDown()
        && (code == juce::KeyPress::tabKey || code == juce::KeyPress::pageDownKey || code == juce::KeyPress::pageUpKey))
    {
        const bool back = code == juce::KeyPress::pageUpKey || (code == juce::KeyPress::tabKey && modifiers.isShiftDown());
        select_tab (back ? -1 : 1);
        return true;
    }

    // Within the page JUCE moves the focus itself; from outside it (the window at start-up,
    // or a tab without controls) nothing would happen.
    auto* page = tabs.getCurrentContentComponent();
    const bool on_page = page != nullptr && page->isParentOf (focused);
    if (code == juce::KeyPress::tabKey && ! on_page)
    {
        enter_page (! modifiers.isShiftDown());
        return true;
    }

    auto* pressed = dynamic_cast<juce::Button*> (focused);
    if (key == juce::KeyPress::spaceKey && on_page && pressed != nullptr)
    {
        pressed->triggerClick();
        return true;
    }
    return false;
}

void keyboard::select_tab (int step)
{
    const int count = tabs.getNumTabs();
    if (count == 0)
        return;
    tabs.setCurrentTabIndex ((tabs.getCurrentTabIndex() + step + count) % count);
    enter_page (true);
}

void keyboard::enter_page (bool at_start)
{
    auto* page = tabs.getCurrentContentComponent();
    const auto controls = juce::KeyboardFocusTraverser().getAllComponents (page);
    // A page without controls leaves the focus with the window, off every hidden page.
    if (controls.empty())
        window.grabKeyboardFocus();
    else
        (at_start ? controls.front() : controls.back())->grabKeyboardFocus();
}

void keyboard::mouseDown (const juce::MouseEvent&)
{
    in_use = false;
    shown_ring = nullptr;
}

void keyboard::globalFocusChanged (juce::Component* focused)
{
    ring (focused);
}

void keyboard::ring (juce::Component* focused)
{
    shown_ring = nullptr;
    // The window itself, focused when no control is, gets no ring.
    if (in_use && focused != nullptr && focused->getParentComponent() != nullptr)
        shown_ring = std::make_unique<focus_ring> (*focused);
}
