#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <memory>

namespace atspi
{
class glib_pump;
class tree;

// The panel's accessibility tree on the desktop's accessibility bus (AT-SPI), for Orca and
// every other assistive tool on Linux, for as long as it lives.
class bridge
{
public:
    // Null, with nothing started, when NO_AT_BRIDGE is set, when there is no session bus to
    // find the accessibility bus on, or when the bridge cannot start.
    static std::unique_ptr<bridge> start();
    ~bridge();

    // Whether to try at all, from the environment as given.
    static bool wanted (const char* no_at_bridge, const char* session_bus, const char* runtime_dir);

private:
    bridge();

    std::unique_ptr<glib_pump> pump;
    std::unique_ptr<tree> nodes;
    bool connected = false;
    std::function<void (juce::Component&)> previous_value_changed;
};
}
