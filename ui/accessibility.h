#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

class button;

// What screen readers learn of the panel beyond JUCE's own handlers (which serve the tabs
// and the mode and update buttons): a switch is a toggle button whose state follows its
// byte, a gain control a button that opens a menu and whose value is its byte's item, the
// version line read-only text, and a page that old firmware disables says why. Every
// control's title is its tooltip (see make_accessible).
namespace accessibility
{
// A gain control's "-3" or "mute", the number of a step no item names; a switch's "On" or
// "Off"; translated where they are words.
juce::String value_of (const button& control);

// Why an interface's page has no controls, translated.
juce::String disabled_page();

// Tells assistive technology that a control's value changed. Tests listen in here.
extern std::function<void (juce::Component&)> value_changed;
}
