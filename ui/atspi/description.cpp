#include "ui/atspi/description.h"

namespace
{
    bool is_tab (const juce::Component& c) { return dynamic_cast<const juce::TabBarButton*> (&c) != nullptr; }

    bool is_window (juce::AccessibilityRole role)
    {
        return role == juce::AccessibilityRole::window || role == juce::AccessibilityRole::dialogWindow;
    }
}

AtkRole atspi::role_of (const juce::AccessibilityHandler& handler)
{
    const auto& c = handler.getComponent();
    if (is_tab (c))
        return ATK_ROLE_PAGE_TAB;
    if (dynamic_cast<const juce::TabbedButtonBar*> (&c) != nullptr)
        return ATK_ROLE_PAGE_TAB_LIST;

    using role = juce::AccessibilityRole;
    switch (handler.getRole())
    {
        case role::button: return handler.getCurrentState().isExpandable() ? ATK_ROLE_PUSH_BUTTON_MENU : ATK_ROLE_PUSH_BUTTON;
        case role::toggleButton: return ATK_ROLE_TOGGLE_BUTTON;
        case role::staticText: return ATK_ROLE_STATIC;
        case role::label: return ATK_ROLE_LABEL;
        case role::group: return ATK_ROLE_PANEL;
        case role::window: return ATK_ROLE_FRAME;
        case role::dialogWindow: return ATK_ROLE_DIALOG;
        case role::popupMenu: return ATK_ROLE_MENU;
        case role::menuItem: return ATK_ROLE_MENU_ITEM;
        case role::tooltip: return ATK_ROLE_TOOL_TIP;
        case role::image: return ATK_ROLE_IMAGE;
        default: return ATK_ROLE_UNKNOWN;
    }
}

atspi::states atspi::states_of (const juce::AccessibilityHandler& handler)
{
    const auto& c = handler.getComponent();
    const auto state = handler.getCurrentState();
    states s = 0;
    const auto add = [&s] (bool on, AtkStateType which) { s |= on ? bit (which) : 0; };

    add (c.isEnabled(), ATK_STATE_ENABLED);
    add (c.isEnabled(), ATK_STATE_SENSITIVE);
    add (c.isVisible(), ATK_STATE_VISIBLE);
    add (c.isShowing(), ATK_STATE_SHOWING);
    // JUCE calls every element focusable for its own screen-reader focus; a client means the keyboard's.
    add (state.isFocusable() && c.getWantsKeyboardFocus(), ATK_STATE_FOCUSABLE);
    add (state.isFocused(), ATK_STATE_FOCUSED);
    add (state.isCheckable(), ATK_STATE_CHECKABLE);
    add (state.isChecked(), ATK_STATE_CHECKED);
    add (state.isExpandable(), ATK_STATE_EXPANDABLE);
    add (state.isExpanded(), ATK_STATE_EXPANDED);

    if (is_tab (c))
    {
        add (true, ATK_STATE_SELECTABLE);
        add (static_cast<const juce::TabBarButton&> (c).isFrontTab(), ATK_STATE_SELECTED);
    }
    if (is_window (handler.getRole()))
    {
        const auto* peer = c.getPeer();
        add (peer != nullptr && peer->isFocused(), ATK_STATE_ACTIVE);
    }
    return s;
}

juce::String atspi::name_of (const juce::AccessibilityHandler& handler)
{
    const auto title = handler.getTitle();
    if (title.isEmpty() && is_window (handler.getRole()))
        return handler.getComponent().getName();
    return title;
}

juce::String atspi::text_of (const juce::AccessibilityHandler& handler)
{
    if (auto* value = handler.getValueInterface())
        return value->getCurrentValueAsString();
    return {};
}

std::vector<atspi::action> atspi::actions_of (const juce::AccessibilityHandler& handler)
{
    using type = juce::AccessibilityActionType;
    static const action known[] = { { type::press, "click" }, { type::toggle, "toggle" }, { type::showMenu, "showMenu" } };
    std::vector<action> offered;
    for (const auto& a : known)
        if (handler.getActions().contains (a.type))
            offered.push_back (a);
    return offered;
}
