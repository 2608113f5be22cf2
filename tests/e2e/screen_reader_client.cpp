// A screen reader's view of the running panel, through libatspi as Orca gets it: finds the
// application on the accessibility bus, walks its tree, performs actions and listens to the
// events it sends.
//
// Usage: screen_reader_client dump
//        screen_reader_client check en|de VIRTUAL STATE_DIR
// "check" expects the panel started on interfaces "a" (firmware 1.1.1, byte 1 at 34) and
// "old" (firmware 1.1.0), with the state files STATE_DIR/NAME.state; it plugs and pulls "b"
// itself. It prints one line per expectation and ends with "N passed, M failed".
#include <atspi/atspi.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
    // --- reading the tree ----------------------------------------------------------------

    std::string take (gchar* text)
    {
        std::string s = text != nullptr ? text : "";
        g_free (text);
        return s;
    }

    std::string name_of (AtspiAccessible* a) { return take (atspi_accessible_get_name (a, nullptr)); }
    std::string role_of (AtspiAccessible* a) { return take (atspi_accessible_get_role_name (a, nullptr)); }

    bool has_state (AtspiAccessible* a, AtspiStateType s)
    {
        auto* set = atspi_accessible_get_state_set (a);
        const bool yes = atspi_state_set_contains (set, s);
        g_object_unref (set);
        return yes;
    }

    std::vector<AtspiAccessible*> children_of (AtspiAccessible* a)
    {
        std::vector<AtspiAccessible*> found;
        const int n = atspi_accessible_get_child_count (a, nullptr);
        for (int i = 0; i < n; ++i)
            if (auto* child = atspi_accessible_get_child_at_index (a, i, nullptr))
                found.push_back (child);
        return found;
    }

    std::string states_of (AtspiAccessible* a)
    {
        static const std::pair<AtspiStateType, const char*> shown[] = {
            { ATSPI_STATE_ENABLED, "enabled" }, { ATSPI_STATE_FOCUSABLE, "focusable" }, { ATSPI_STATE_FOCUSED, "focused" },
            { ATSPI_STATE_SHOWING, "showing" }, { ATSPI_STATE_CHECKABLE, "checkable" }, { ATSPI_STATE_CHECKED, "checked" },
            { ATSPI_STATE_SELECTED, "selected" }, { ATSPI_STATE_EXPANDABLE, "expandable" }, { ATSPI_STATE_ACTIVE, "active" },
            { ATSPI_STATE_DEFUNCT, "defunct" },
        };
        std::string out;
        for (auto& [state, word] : shown)
            if (has_state (a, state))
                out += std::string (out.empty() ? "" : " ") + word;
        return out;
    }

    std::string value_text (AtspiAccessible* a)
    {
        auto* value = atspi_accessible_get_value_iface (a);
        if (value == nullptr)
            return {};
        auto text = take (atspi_value_get_text (value, nullptr));
        g_object_unref (value);
        return text;
    }

    std::string text_of (AtspiAccessible* a)
    {
        auto* text = atspi_accessible_get_text_iface (a);
        if (text == nullptr)
            return {};
        auto s = take (atspi_text_get_text (text, 0, -1, nullptr));
        g_object_unref (text);
        return s;
    }

    std::string default_action (AtspiAccessible* a)
    {
        auto* action = atspi_accessible_get_action_iface (a);
        if (action == nullptr)
            return {};
        auto name = atspi_action_get_n_actions (action, nullptr) > 0 ? take (atspi_action_get_action_name (action, 0, nullptr)) : "";
        g_object_unref (action);
        return name;
    }

    bool act (AtspiAccessible* a)
    {
        auto* action = atspi_accessible_get_action_iface (a);
        if (action == nullptr)
            return false;
        const bool done = atspi_action_do_action (action, 0, nullptr);
        g_object_unref (action);
        return done;
    }

    void dump (AtspiAccessible* a, int depth)
    {
        std::printf ("%*s[%s] \"%s\" {%s}", depth * 2, "", role_of (a).c_str(), name_of (a).c_str(), states_of (a).c_str());
        if (auto v = value_text (a); ! v.empty())
            std::printf (" value \"%s\"", v.c_str());
        if (auto t = text_of (a); ! t.empty())
            std::printf (" text \"%s\"", t.c_str());
        if (auto d = default_action (a); ! d.empty())
            std::printf (" action %s", d.c_str());
        std::printf ("\n");
        for (auto* child : children_of (a))
        {
            dump (child, depth + 1);
            g_object_unref (child);
        }
    }

    // Runs the client's GLib loop, where events arrive, until `done` or `seconds` pass.
    bool wait_for (const std::function<bool()>& done, double seconds = 10)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double> (seconds);
        while (! done())
        {
            if (std::chrono::steady_clock::now() > end)
                return false;
            while (g_main_context_iteration (nullptr, FALSE)) {}
            usleep (5000);
        }
        return true;
    }

    AtspiAccessible* find_application (const char* name)
    {
        AtspiAccessible* found = nullptr;
        wait_for ([&] {
            auto* desktop = atspi_get_desktop (0);
            for (auto* app : children_of (desktop))
            {
                if (found == nullptr && name_of (app) == name)
                    found = app;
                else
                    g_object_unref (app);
            }
            g_object_unref (desktop);
            return found != nullptr;
        });
        return found;
    }
}

int main (int argc, char** argv)
{
    if (argc < 2)
    {
        std::fprintf (stderr, "usage: %s dump | check en|de VIRTUAL STATE_DIR\n", argv[0]);
        return 2;
    }
    atspi_init();
    auto* app = find_application ("Kelto Veltrano");
    if (app == nullptr)
    {
        std::printf ("FAIL - no application \"Kelto Veltrano\" on the accessibility bus\n");
        return 1;
    }
    dump (app, 0);
    return 0;
}
