#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <memory>

namespace atspi
{
class glib_pump;
class tree;

// The panel's accessibility tree on the desktop's accessibility bus (AT-SPI), for Orca and
// every other assistive tool on Linux, for as long as it lives. It lives in a module of its
// own that the panel loads only where a client can listen (ui/atspi/loader.h).
class bridge
{
public:
    // Null, with nothing left running, when the accessibility bus cannot be reached.
    static std::unique_ptr<bridge> start();
    ~bridge();

private:
    bridge();

    std::unique_ptr<glib_pump> pump;
    std::unique_ptr<tree> nodes;
    bool connected = false;
    std::function<void (juce::Component&)> previous_value_changed;
};
}
