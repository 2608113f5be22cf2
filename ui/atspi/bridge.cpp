#include "ui/atspi/bridge.h"
#include "ui/atspi/glib_pump.h"
#include "ui/atspi/tree.h"
#include "ui/accessibility.h"

#include <atk-bridge.h>

namespace
{
    // ATK finds the application through these.
    atspi::tree* current = nullptr;

    AtkObject* root() { return current != nullptr ? current->root() : nullptr; }
    const gchar* toolkit_name() { return "JUCE"; }
    const gchar* toolkit_version() { return JUCE_STRINGIFY (JUCE_MAJOR_VERSION) "." JUCE_STRINGIFY (JUCE_MINOR_VERSION) "." JUCE_STRINGIFY (JUCE_BUILDNUMBER); }

    void point_atk_here()
    {
        static auto* util = ATK_UTIL_CLASS (g_type_class_ref (ATK_TYPE_UTIL));
        util->get_root = root;
        util->get_toolkit_name = toolkit_name;
        util->get_toolkit_version = toolkit_version;
    }
}

std::unique_ptr<atspi::bridge> atspi::bridge::start()
{
    std::unique_ptr<bridge> made (new bridge());
    return made->connected ? std::move (made) : nullptr;
}

atspi::bridge::bridge()
    : pump (std::make_unique<glib_pump>()),
      nodes (std::make_unique<tree> ([p = pump.get()] { p->poke(); }))
{
    current = nodes.get();
    point_atk_here();
    connected = atk_bridge_adaptor_init (nullptr, nullptr) == 0;
    if (! connected)
        return;

    // A gain step that changed reaches the clients too.
    auto* t = nodes.get();
    previous_value_changed = accessibility::value_changed;
    accessibility::value_changed = [previous = previous_value_changed, t] (juce::Component& c) {
        previous (c);
        t->changed();
    };
    pump->poke();
}

atspi::bridge::~bridge()
{
    if (connected)
    {
        accessibility::value_changed = previous_value_changed;
        atk_bridge_adaptor_cleanup();
    }
    current = nullptr;
    nodes = nullptr;
    pump = nullptr;
}
