#pragma once

#include <atk/atk.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdint>
#include <vector>

// What an AT-SPI client is told of one component, read from its JUCE accessibility handler
// when it asks, in ATK's terms. JUCE keeps a tab bar's buttons beside the bar; here they are
// a page tab list and its page tabs, the selected one marked.
namespace atspi
{
AtkRole role_of (const juce::AccessibilityHandler& handler);

// AtkStateType values as bits: bit n is state n.
using states = std::uint64_t;
constexpr states bit (AtkStateType s) { return states (1) << s; }
states states_of (const juce::AccessibilityHandler& handler);
// Calls `each` with every state in `s`, lowest first.
template <typename function>
void for_each_state (states s, function&& each)
{
    for (; s != 0; s &= s - 1)
        each (static_cast<AtkStateType> (__builtin_ctzll (s)));
}

// The title; a window without one is called by its name.
juce::String name_of (const juce::AccessibilityHandler& handler);

// The handler's value as text ("-3", "mute", the version line); empty without a value.
juce::String text_of (const juce::AccessibilityHandler& handler);

// What a client can do with it, the default first.
struct action
{
    juce::AccessibilityActionType type;
    const char* name;
};
std::vector<action> actions_of (const juce::AccessibilityHandler& handler);
}
