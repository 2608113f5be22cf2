#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace atspi
{
// Loads and starts the AT-SPI bridge module, and stops it when destroyed. A panel where no
// screen reader can listen never loads it, and so never maps ATK, GLib and D-Bus: it starts
// as fast and as small as without the bridge.
class loaded_bridge
{
public:
    // Null when NO_AT_BRIDGE is set, when no session bus can be found, when the module is
    // missing or the accessibility bus cannot be reached; none of it is reported.
    static std::unique_ptr<loaded_bridge> load();
    ~loaded_bridge();
    loaded_bridge (const loaded_bridge&) = delete;
    loaded_bridge& operator= (const loaded_bridge&) = delete;

    // Whether to try at all, from the environment as given.
    static bool wanted (const char* no_at_bridge, const char* session_bus, const char* runtime_dir);
    // Where the module may be, first match wins: beside the program (a build tree), then in
    // the package's library folder.
    static juce::StringArray module_paths (const juce::String& program_folder);

private:
    using stop_function = void (*) (void*);
    loaded_bridge (void* running, stop_function stop) : running (running), stop (stop) {}

    void* running;
    stop_function stop;
};
}
