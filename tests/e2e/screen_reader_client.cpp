// A screen reader's view of the running panel, through libatspi as Orca gets it: finds the
// application on the accessibility bus, walks its tree, performs actions and listens to the
// events it sends.
//
// Usage: screen_reader_client dump | absent
//        screen_reader_client check en|de VIRTUAL STATE_DIR
// "check" expects the panel started on interfaces "a" (firmware 1.1.1, byte 1 at 34) and
// "old" (firmware 1.1.0), with the state files STATE_DIR/NAME.state; it plugs and pulls "b"
// itself. It prints one line per expectation, stops at the first failure, and ends with
// "N passed, M failed". "absent"
// succeeds when no such application shows up within 3 s.
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

    AtspiAccessible* find_application (const char* name, double seconds)
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
        }, seconds);
        return found;
    }

    // --- expectations --------------------------------------------------------------------

    int passed = 0, failed = 0;

    // The first failure ends the run: what follows builds on it, and would only wait.
    bool check (const std::string& what, bool ok)
    {
        std::printf ("%s - %s\n", ok ? "ok  " : "FAIL", what.c_str());
        ++(ok ? passed : failed);
        if (! ok)
        {
            std::printf ("%d passed, %d failed\n", passed, failed);
            std::exit (1);
        }
        return ok;
    }

    // The first object below `a`, depth first, that `wanted` accepts; with a reference.
    AtspiAccessible* find (AtspiAccessible* a, const std::function<bool (AtspiAccessible*)>& wanted)
    {
        for (auto* child : children_of (a))
        {
            AtspiAccessible* found = wanted (child) ? child : find (child, wanted);
            if (found != child)
                g_object_unref (child);
            if (found != nullptr)
                return found;
        }
        return nullptr;
    }
    std::function<bool (AtspiAccessible*)> named (const std::string& n) { return [n] (AtspiAccessible* a) { return name_of (a) == n; }; }
    std::function<bool (AtspiAccessible*)> with_role (const std::string& r) { return [r] (AtspiAccessible* a) { return role_of (a) == r; }; }

    // Waits for `a` to turn up below `root` (the tree may still be changing).
    AtspiAccessible* await (AtspiAccessible* root, const std::function<bool (AtspiAccessible*)>& wanted)
    {
        AtspiAccessible* found = nullptr;
        wait_for ([&] { return (found = find (root, wanted)) != nullptr; });
        return found;
    }

    // --- events ----------------------------------------------------------------------------

    struct heard
    {
        std::string type, source, child;
        int detail;
    };
    std::vector<heard> events;

    void on_event (AtspiEvent* e, void*)
    {
        heard h { e->type != nullptr ? e->type : "", e->source != nullptr ? name_of (e->source) : "", "", e->detail1 };
        if (G_VALUE_HOLDS (&e->any_data, ATSPI_TYPE_ACCESSIBLE))
            if (auto* child = static_cast<AtspiAccessible*> (g_value_get_object (&e->any_data)))
                h.child = name_of (child);
        events.push_back (h);
        g_boxed_free (ATSPI_TYPE_EVENT, e);
    }

    bool heard_event (const std::string& type, const std::string& source, int detail, const std::string& child = {})
    {
        return wait_for ([&] {
            for (auto& e : events)
                if (e.type == type && e.source == source && e.detail == detail && (child.empty() || e.child == child))
                    return true;
            return false;
        });
    }

    int count_of (const std::string& type, const std::string& source)
    {
        int n = 0;
        for (auto& e : events)
            n += e.type == type && e.source == source ? 1 : 0;
        return n;
    }

    // --- the interfaces ------------------------------------------------------------------

    int byte_of (const std::string& state_file, int index)
    {
        std::ifstream in (state_file);
        for (std::string line; std::getline (in, line);)
        {
            std::istringstream words (line);
            std::string word;
            words >> word;
            if (word != "block")
                continue;
            int value = -1;
            for (int i = 0; i <= index && words >> value;) ++i;
            return value;
        }
        return -1;
    }

    bool byte_becomes (const std::string& state_file, int index, int value)
    {
        return wait_for ([&] { return byte_of (state_file, index) == value; });
    }

    pid_t plug (const std::string& virtual_program, const std::string& name, const std::string& state_dir)
    {
        const pid_t pid = fork();
        if (pid == 0)
        {
            const auto state = state_dir + "/" + name + ".state";
            execl (virtual_program.c_str(), virtual_program.c_str(), "--name", name.c_str(), "--state-file", state.c_str(), nullptr);
            _exit (127);
        }
        return pid;
    }

    void pull (pid_t interface)
    {
        kill (interface, SIGTERM);
        waitpid (interface, nullptr, 0);
    }

    void keys (const char* which)
    {
        const auto command = std::string ("xdotool search --onlyvisible --name '^Kelto Veltrano$' windowfocus --sync key --delay 40 ") + which;
        check (std::string ("xdotool sends ") + which, std::system (command.c_str()) == 0);
    }
}

namespace
{
    struct language
    {
        const char* about;
        const char* phantom_power_1;
        const char* expert_mode;
        const char* version_line;
        const char* disabled_start;
    };
    const language english { "About", "Turn 48V phantom power for channel 1 ON or OFF", "Switch to Expert mode",
                             "Driver:1.0.4 Firmware: 1.1.1", "The firmware of this interface is older than 1.1.1." };
    const language german { "\xc3\x9c" "ber", "Schaltet die 48V-Phantomspeisung f\xc3\xbc" "r Kanal 1 EIN oder AUS", "Schaltet zum Expert Modus um",
                            "Treiber:1.0.4 Firmware: 1.1.1", "Die Firmware dieses Interfaces ist \xc3\xa4lter als 1.1.1." };
    const char* const output_gain = "Set attenuation for output 1/2 (7.75dBu @ 0dB FS: 100Ohm output impedance)";

    bool ends_with (const std::string& s, const std::string& end)
    {
        return s.size() >= end.size() && s.compare (s.size() - end.size(), end.size(), end) == 0;
    }

    // What is seen before anything is done: the frame, the tabs, the first page in reading order.
    void check_seen (AtspiAccessible* app, const language& words)
    {
        auto* frame = find (app, with_role ("frame"));
        check ("a frame in the application", frame != nullptr);
        if (frame == nullptr)
            return;
        check ("the frame is titled \"Kelto Veltrano\" and is the active window",
               name_of (frame) == "Kelto Veltrano" && has_state (frame, ATSPI_STATE_ACTIVE));

        auto* tabs = find (frame, with_role ("page tab list"));
        std::vector<std::string> names;
        std::vector<bool> selected;
        for (auto* tab : tabs != nullptr ? children_of (tabs) : std::vector<AtspiAccessible*>())
        {
            names.push_back (role_of (tab) == "page tab" ? name_of (tab) : "(" + role_of (tab) + ")");
            selected.push_back (has_state (tab, ATSPI_STATE_SELECTED));
            g_object_unref (tab);
        }
        check ("a page tab list of three page tabs: a, old, " + std::string (words.about),
               names.size() == 3 && ends_with (names[0], "/a") && ends_with (names[1], "/old") && names[2] == words.about);
        check ("the first tab is the selected one", selected == std::vector<bool> { true, false, false });

        auto* page = find (frame, [] (AtspiAccessible* a) { return role_of (a) == "panel" && atspi_accessible_get_child_count (a, nullptr) > 0; });
        std::vector<std::string> order;
        for (auto* c : page != nullptr ? children_of (page) : std::vector<AtspiAccessible*>())
        {
            order.push_back (role_of (c));
            g_object_unref (c);
        }
        check ("the easy page in reading order: version line, update, mode, five switches",
               order == std::vector<std::string> { "static", "push button", "push button", "toggle button", "toggle button",
                                                   "toggle button", "toggle button", "toggle button" });
        auto* version = page != nullptr ? find (page, with_role ("static")) : nullptr;
        check ("the version line reads \"" + std::string (words.version_line) + "\"", version != nullptr && text_of (version) == words.version_line);
        auto* characters = version != nullptr ? atspi_accessible_get_text_iface (version) : nullptr;
        check ("its first six characters, and how many there are",
               characters != nullptr && take (atspi_text_get_text (characters, 0, 6, nullptr)) == std::string (words.version_line).substr (0, 6)
                   && atspi_text_get_character_count (characters, nullptr) == static_cast<int> (std::string (words.version_line).size()));
        auto* phantom = page != nullptr ? find (page, named (words.phantom_power_1)) : nullptr;
        check ("phantom power 1 is named by its tooltip, a toggle button",
               phantom != nullptr && role_of (phantom) == "toggle button" && has_state (phantom, ATSPI_STATE_CHECKABLE));
        if (characters != nullptr)
            g_object_unref (characters);
        for (auto* a : { frame, tabs, page, version, phantom })
            if (a != nullptr)
                g_object_unref (a);
    }

    AtspiAccessible* tab_named (AtspiAccessible* app, const std::function<bool (const std::string&)>& wanted)
    {
        return find (app, [&] (AtspiAccessible* a) { return role_of (a) == "page tab" && wanted (name_of (a)); });
    }

    // A tab's default action shows its page; an interface with old firmware says why it has none.
    void check_disabled_page (AtspiAccessible* app, const language& words)
    {
        auto* old = tab_named (app, [] (const std::string& n) { return ends_with (n, "/old"); });
        check ("the tab's default action is \"click\"", old != nullptr && default_action (old) == "click" && act (old));
        check ("and selects it", old != nullptr && heard_event ("object:state-changed:selected", name_of (old), 1));
        auto* page = await (app, [&] (AtspiAccessible* a) { return role_of (a) == "panel" && name_of (a).rfind (words.disabled_start, 0) == 0; });
        check ("its page says \"" + std::string (words.disabled_start) + " ...\"", page != nullptr);
        for (auto* a : { old, page })
            if (a != nullptr)
                g_object_unref (a);
    }

    void check_everything (AtspiAccessible* app, const std::string& virtual_program, const std::string& state_dir)
    {
        const auto a_state = state_dir + "/a.state";

        // The keyboard: three Tabs reach phantom power 1.
        keys ("Tab Tab Tab");
        check ("the keyboard's focus reaches the client: phantom power 1 focused",
               heard_event ("object:state-changed:focused", english.phantom_power_1, 1));
        auto* phantom = find (app, named (english.phantom_power_1));
        const auto seen = phantom != nullptr ? states_of (phantom) : "none";
        check ("its states: enabled, focusable, focused, showing, checkable, not checked (" + seen + ")",
               seen == "enabled focusable focused showing checkable");

        // Where it is: the skin's place on the page, below the 19-pixel title and 30-pixel tab bar.
        auto* where = phantom != nullptr ? atspi_accessible_get_component_iface (phantom) : nullptr;
        auto* box = where != nullptr ? atspi_component_get_extents (where, ATSPI_COORD_TYPE_WINDOW, nullptr) : nullptr;
        check ("phantom power 1 lies at 19, 158 of the window, 39 x 33",
               box != nullptr && box->x == 19 && box->y == 158 && box->width == 39 && box->height == 33);
        g_free (box);
        if (where != nullptr)
            g_object_unref (where);

        // A client may move the focus itself.
        auto* second = find (app, named ("Turn 48V phantom power for channel 2 ON or OFF"));
        auto* focusing = second != nullptr ? atspi_accessible_get_component_iface (second) : nullptr;
        check ("a client moves the focus to phantom power 2",
               focusing != nullptr && atspi_component_grab_focus (focusing, nullptr)
                   && heard_event ("object:state-changed:focused", "Turn 48V phantom power for channel 2 ON or OFF", 1));
        check ("and phantom power 1 is told it lost it", heard_event ("object:state-changed:focused", english.phantom_power_1, 0));
        if (focusing != nullptr)
            g_object_unref (focusing);
        if (second != nullptr)
            g_object_unref (second);

        // A switch's default action toggles it, as a click would.
        check ("phantom power 1's default action is \"click\"", phantom != nullptr && default_action (phantom) == "click" && act (phantom));
        check ("which writes 255 into byte 10", byte_becomes (a_state, 10, 255));
        check ("and is announced: checked", heard_event ("object:state-changed:checked", english.phantom_power_1, 1));
        check ("the states say checked", phantom != nullptr && has_state (phantom, ATSPI_STATE_CHECKED));

        // Questions beyond the ends get nothing, and the panel lives on.
        auto* actions = phantom != nullptr ? atspi_accessible_get_action_iface (phantom) : nullptr;
        const int offered = actions != nullptr ? atspi_action_get_n_actions (actions, nullptr) : 0;
        check ("phantom power 1 offers \"click\" and \"toggle\", and no action after them",
               offered == 2 && take (atspi_action_get_action_name (actions, 1, nullptr)) == "toggle"
                   && take (atspi_action_get_action_name (actions, 2, nullptr)).empty());
        if (actions != nullptr)
            g_object_unref (actions);
        const int windows = atspi_accessible_get_child_count (app, nullptr);
        auto* beyond = atspi_accessible_get_child_at_index (app, windows, nullptr);
        check ("no child after the last one", beyond == nullptr && name_of (app) == "Kelto Veltrano");

        // The mode button: the expert page with its gain controls.
        auto* mode = find (app, named (english.expert_mode));
        check ("the mode button's action", mode != nullptr && act (mode));
        check ("is announced as its new name", heard_event ("object:property-change:accessible-name", "Switch to Easy mode", 0));
        check ("the new page's first line is announced where it stands",
               heard_event ("object:children-changed:add", "", 0, "Displays current driver and firmware version information"));
        auto* gain = await (app, named (output_gain));
        check ("shows the expert page: output 1/2 gain is a push button menu, expandable",
               gain != nullptr && role_of (gain) == "push button menu" && has_state (gain, ATSPI_STATE_EXPANDABLE));
        auto* number = gain != nullptr ? atspi_accessible_get_value_iface (gain) : nullptr;
        check ("reading \"-3\" (step 34), as text and as a number", gain != nullptr && value_text (gain) == "-3"
                   && number != nullptr && atspi_value_get_current_value (number, nullptr) == -3.0);
        if (number != nullptr)
            g_object_unref (number);
        check ("its default action opens its menu", gain != nullptr && act (gain));
        auto* item = await (app, [] (AtspiAccessible* a) { return role_of (a) == "menu item" && name_of (a) == "-6.5"; });
        check ("a menu with the item \"-6.5\"", item != nullptr);
        check ("whose action", item != nullptr && act (item));
        check ("writes 29 into byte 1", byte_becomes (a_state, 1, 29));
        check ("and the new value is announced", heard_event ("object:property-change:accessible-value", output_gain, 0));
        check ("the gain control reads \"-6.5\"", gain != nullptr && value_text (gain) == "-6.5");
        check ("the menu has gone", wait_for ([&] { auto* m = find (app, with_role ("menu")); if (m) g_object_unref (m); return m == nullptr; }));
        wait_for ([] { return false; }, 0.5);
        check ("the value was announced once", count_of ("object:property-change:accessible-value", output_gain) == 1);

        // Back to the easy page: the gain control is gone, and answers as such.
        check ("the mode button's action again", mode != nullptr && act (mode));
        check ("leaves the output gain defunct", wait_for ([&] { return has_state (gain, ATSPI_STATE_DEFUNCT); }));
        auto* gone = atspi_accessible_get_value_iface (gain);
        const auto step = gone != nullptr ? take (atspi_value_get_text (gone, nullptr)) + " " + std::to_string (atspi_value_get_current_value (gone, nullptr)) : "";
        check ("with no step (" + step + ")", gone == nullptr || step == " 0.000000");
        if (gone != nullptr)
            g_object_unref (gone);

        // Plug-in and pull.
        auto* tabs = find (app, with_role ("page tab list"));
        const pid_t b = plug (virtual_program, "b", state_dir);
        const std::string b_path = std::string (getenv ("KELTO_VIRTUAL_BUS") != nullptr ? getenv ("KELTO_VIRTUAL_BUS") : "") + "/b";
        check ("an interface plugged in: its tab is announced", heard_event ("object:children-changed:add", "", 2, b_path));
        auto* tab = tab_named (app, [] (const std::string& n) { return ends_with (n, "/b"); });
        check ("the tab list has the new tab before About", tab != nullptr && atspi_accessible_get_index_in_parent (tab, nullptr) == 2);
        check ("its action selects it", tab != nullptr && act (tab) && heard_event ("object:state-changed:selected", name_of (tab), 1));
        auto* control = await (app, named (english.phantom_power_1));
        pull (b);
        check ("pulled: the tab's removal is announced", heard_event ("object:children-changed:remove", "", 2));
        check ("the tab list has three tabs again", tabs != nullptr && atspi_accessible_get_child_count (tabs, nullptr) == 3);
        check ("and its objects are announced defunct", heard_event ("object:state-changed:defunct", "", 1));
        // libatspi may keep what it read before; the panel is asked afresh.
        atspi_accessible_clear_cache (app);
        check ("the pulled tab answers as defunct, with no place among its old siblings",
               tab != nullptr && has_state (tab, ATSPI_STATE_DEFUNCT) && atspi_accessible_get_index_in_parent (tab, nullptr) == -1);
        check ("so does a control of its page",
               control != nullptr && (has_state (control, ATSPI_STATE_DEFUNCT) || name_of (control).empty()));
        check ("and the panel still answers", name_of (app) == "Kelto Veltrano");

        check_disabled_page (app, english);
        for (auto* a : { phantom, mode, gain, item, tabs, tab, control })
            if (a != nullptr)
                g_object_unref (a);
    }
}

int main (int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode != "dump" && mode != "absent" && ! (mode == "check" && argc == 5))
    {
        std::fprintf (stderr, "usage: %s dump | absent | check en|de VIRTUAL STATE_DIR\n", argv[0]);
        return 2;
    }
    atspi_init();
    auto* app = find_application ("Kelto Veltrano", mode == "absent" ? 3 : 10);
    if (mode == "absent")
        return app == nullptr ? 0 : 1;
    check ("an application \"Kelto Veltrano\" on the accessibility bus", app != nullptr);
    if (mode == "dump")
    {
        dump (app, 0);
        return 0;
    }

    auto* listener = atspi_event_listener_new (on_event, nullptr, nullptr);
    for (auto* type : { "object:state-changed", "object:children-changed", "object:property-change:accessible-value",
                        "object:property-change:accessible-name" })
        atspi_event_listener_register (listener, type, nullptr);
    const bool in_german = std::string (argv[2]) == "de";
    check_seen (app, in_german ? german : english);
    if (in_german)
        check_disabled_page (app, german);
    else
        check_everything (app, argv[3], argv[4]);
    g_object_unref (listener);
    g_object_unref (app);
    std::printf ("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
