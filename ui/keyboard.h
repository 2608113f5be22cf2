#pragma once

#include "ui/focus_ring.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

// Keyboard use of the panel beyond what JUCE does by itself (Tab within a page, Return on a
// button): Tab or Shift+Tab from outside the shown page to its first or last control, Space
// on a button, Ctrl+Tab or Ctrl+PageDown to the next tab and Ctrl+Shift+Tab or Ctrl+PageUp
// to the previous one. The focused control wears a ring while the keyboard is in use; the
// next mouse click takes it off.
class keyboard : public juce::KeyListener, private juce::MouseListener, private juce::FocusChangeListener
{
public:
    // Listens to the keys that reach `window`, whose tabbed body is `tabs`.
    keyboard (juce::Component& window, juce::TabbedComponent& tabs);
    ~keyboard() override;

    bool keyPressed (const juce::KeyPress& key, juce::Component* origin) override;

private:
    void mouseDown (const juce::MouseEvent&) override;
    void globalFocusChanged (juce::Component* focused) override;

    void select_tab (int step);
    void enter_page (bool at_start);
    void ring (juce::Component* focused);

    juce::Component& window;
    juce::TabbedComponent& tabs;
    bool in_use = false;
    std::unique_ptr<focus_ring> shown_ring;
};
