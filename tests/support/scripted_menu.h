#pragma once

#include "ui/button.h"

#include <functional>
#include <utility>
#include <vector>

// Stands in for a gain control's menu, which needs a display: records each menu shown (its
// item count and the component it was opened at) and returns `choose()`.
class scripted_menu
{
public:
    explicit scripted_menu (int choice) : scripted_menu ([choice] { return choice; }) {}
    explicit scripted_menu (std::function<int()> choose) : previous (std::exchange (button::show_menu, {}))
    {
        button::show_menu = [this, choose] (juce::PopupMenu& menu, const juce::PopupMenu::Options& options) {
            shown.push_back (menu.getNumItems());
            at.push_back (options.getTargetComponent());
            return choose();
        };
    }
    ~scripted_menu() { button::show_menu = previous; }

    scripted_menu (const scripted_menu&) = delete;
    scripted_menu& operator= (const scripted_menu&) = delete;

    std::vector<int> shown;
    std::vector<juce::Component*> at;

private:
    std::function<int (juce::PopupMenu&, const juce::PopupMenu::Options&)> previous;
};
