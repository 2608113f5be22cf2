// The AT-SPI bridge's parts that need no bus: what a client is told of each kind of
// control, when the bridge starts at all, and GLib's loop run from JUCE's.
#include "app/skin_root.h"
#include "tests/support/message_loop.h"
#include "tests/support/test_interface.h"
#include "ui/atspi/loader.h"
#include "ui/atspi/description.h"
#include "ui/atspi/glib_pump.h"
#include "ui/atspi/node.h"
#include "ui/atspi/tree.h"
#include "ui/view.h"

#include <glib-unix.h>
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
    using atspi::bit;
    using action_names = std::vector<juce::String>;

    // The states that say what a control is and how it stands; showing needs a display.
    const atspi::states telling = bit (ATK_STATE_ENABLED) | bit (ATK_STATE_FOCUSABLE) | bit (ATK_STATE_CHECKABLE)
                                  | bit (ATK_STATE_CHECKED) | bit (ATK_STATE_EXPANDABLE) | bit (ATK_STATE_SELECTABLE)
                                  | bit (ATK_STATE_SELECTED) | bit (ATK_STATE_ACTIVE);

    struct seen
    {
        AtkRole role;
        atspi::states state;
        juce::String name, text;
        action_names actions;
    };

    // JUCE hands out a component's handler only once it is on the screen; the panel's own
    // components make theirs on request.
    seen as_client_sees (const juce::AccessibilityHandler& h)
    {
        action_names actions;
        for (auto& a : atspi::actions_of (h))
            actions.push_back (a.name);
        return { atspi::role_of (h), atspi::states_of (h) & telling, atspi::name_of (h), atspi::text_of (h), actions };
    }
    template <typename part>
    seen as_client_sees_own (part& c) { return as_client_sees (*c.createAccessibilityHandler()); }
    // JUCE's own components keep theirs private: a handler of the role JUCE gives them.
    seen as_client_sees (juce::Component& c, juce::AccessibilityRole role) { return as_client_sees (juce::AccessibilityHandler (c, role)); }

    button& control_named (view& page, const juce::String& name)
    {
        return **std::find_if (page.begin(), page.end(), [&] (const button* b) { return b->getName() == name; });
    }

    const auto enabled = bit (ATK_STATE_ENABLED);
    const auto keyboard = enabled | bit (ATK_STATE_FOCUSABLE);
    const auto a_switch = keyboard | bit (ATK_STATE_CHECKABLE);
}

TEST (atspi_description, controls_of_a_page_by_kind)
{
    const auto skin = parse_skin();
    test_interface plugged ({ { 1, 34 }, { 10, 255 } });
    view page (*skin->getChildByName ("device"), plugged.device());
    auto& version = const_cast<label&> (*page.information());
    auto& mode = const_cast<juce::ImageButton&> (page.mode_button());
    juce::AccessibilityHandler mode_handler (mode, juce::AccessibilityRole::button,
                                             juce::AccessibilityActions().addAction (juce::AccessibilityActionType::press, [] {}));

    const struct { seen got, expected; } easy[] = {
        { as_client_sees_own (control_named (page, "phantom_power_1")), { ATK_ROLE_TOGGLE_BUTTON, a_switch | bit (ATK_STATE_CHECKED), "Turn 48V phantom power for channel 1 ON or OFF", "On", { "click", "toggle" } } },
        { as_client_sees_own (control_named (page, "phantom_power_2")), { ATK_ROLE_TOGGLE_BUTTON, a_switch, "Turn 48V phantom power for channel 2 ON or OFF", "Off", { "click", "toggle" } } },
        { as_client_sees_own (version), { ATK_ROLE_STATIC, enabled, "Displays current driver and firmware version information", "Driver:1.0.4 Firmware: 1.1.1", {} } },
        { as_client_sees (mode_handler), { ATK_ROLE_PUSH_BUTTON, keyboard, "Switch to Expert mode", "", { "click" } } },
    };
    for (auto& row : easy)
    {
        SCOPED_TRACE (row.expected.name);
        const auto& s = row.got;
        EXPECT_EQ (s.role, row.expected.role);
        EXPECT_EQ (s.state, row.expected.state);
        EXPECT_EQ (s.name, row.expected.name);
        EXPECT_EQ (s.text, row.expected.text);
        EXPECT_EQ (s.actions, row.expected.actions);
    }

    auto& off = control_named (page, "phantom_power_2");
    off.setEnabled (false);
    EXPECT_EQ (atspi::states_of (*off.createAccessibilityHandler()) & (bit (ATK_STATE_ENABLED) | bit (ATK_STATE_SENSITIVE)), 0u);

    page.buttonClicked (&mode);
    const auto gain = as_client_sees_own (control_named (page, "level_out12"));
    EXPECT_EQ (gain.role, ATK_ROLE_PUSH_BUTTON_MENU);
    EXPECT_EQ (gain.state, keyboard | bit (ATK_STATE_EXPANDABLE));
    EXPECT_EQ (gain.text, "-3");
    EXPECT_EQ (gain.actions, (action_names { "click", "showMenu" }));
}

TEST (atspi_description, tabs_windows_and_a_disabled_page)
{
    juce::TabbedComponent tabs (juce::TabbedButtonBar::TabsAtTop);
    tabs.setSize (400, 300);
    tabs.addTab ("one", juce::Colours::black, new juce::Component(), true);
    tabs.addTab ("two", juce::Colours::black, new juce::Component(), true);
    tabs.setCurrentTabIndex (1);
    auto& bar = tabs.getTabbedButtonBar();
    EXPECT_EQ (as_client_sees (bar, juce::AccessibilityRole::group).role, ATK_ROLE_PAGE_TAB_LIST);
    const struct { int index; atspi::states state; } rows[] = {
        { 0, bit (ATK_STATE_SELECTABLE) },
        { 1, bit (ATK_STATE_SELECTABLE) | bit (ATK_STATE_SELECTED) },
    };
    for (auto& row : rows)
    {
        const auto tab = as_client_sees (*bar.getTabButton (row.index), juce::AccessibilityRole::button);
        EXPECT_EQ (tab.role, ATK_ROLE_PAGE_TAB) << row.index;
        EXPECT_EQ (tab.state & ~enabled, row.state) << row.index;
    }
    EXPECT_EQ (as_client_sees (tabs, juce::AccessibilityRole::group).role, ATK_ROLE_PANEL);

    juce::DocumentWindow window ("Kelto Veltrano", juce::Colours::black, juce::DocumentWindow::closeButton, false);
    const auto frame = as_client_sees (window, juce::AccessibilityRole::window);
    EXPECT_EQ (frame.role, ATK_ROLE_FRAME);
    EXPECT_EQ (frame.name, "Kelto Veltrano") << "a window without a title is called by its name";
    EXPECT_EQ (frame.state & bit (ATK_STATE_ACTIVE), 0u) << "not on the screen";
    window.setTitle ("Titled");
    EXPECT_EQ (as_client_sees (window, juce::AccessibilityRole::window).name, "Titled");
    EXPECT_EQ (as_client_sees (window, juce::AccessibilityRole::dialogWindow).role, ATK_ROLE_DIALOG);
    EXPECT_EQ (as_client_sees (tabs, juce::AccessibilityRole::group).name, "") << "only a window falls back on its name";

    const auto skin = parse_skin();
    test_interface old ({}, "1.1.0");
    view disabled (*skin->getChildByName ("device"), old.device());
    const auto page = as_client_sees_own (disabled);
    EXPECT_EQ (page.role, ATK_ROLE_PANEL);
    EXPECT_TRUE (page.name.startsWith ("The firmware of this interface is older than 1.1.1.")) << page.name;
}

TEST (atspi_loader, loads_the_bridge_only_where_a_session_bus_can_be_found_and_it_is_not_turned_off)
{
    const auto folder = juce::File::createTempFile ("atspi");
    const auto with_bus = folder.getChildFile ("with"), without_bus = folder.getChildFile ("without"), plain_file = folder.getChildFile ("plain");
    for (auto& f : { with_bus, without_bus, plain_file })
        ASSERT_TRUE (f.createDirectory());
    ASSERT_TRUE (plain_file.getChildFile ("bus").replaceWithText ("not a socket"));
    const int listening = socket (AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::snprintf (address.sun_path, sizeof address.sun_path, "%s/bus", with_bus.getFullPathName().toRawUTF8());
    ASSERT_EQ (bind (listening, reinterpret_cast<sockaddr*> (&address), sizeof address), 0);

    const auto bus_dir = with_bus.getFullPathName(), empty_dir = without_bus.getFullPathName(), file_dir = plain_file.getFullPathName();
    const struct { const char* no_at_bridge; const char* session_bus; const char* runtime_dir; bool wanted; } rows[] = {
        { nullptr, "unix:path=/somewhere", nullptr, true },
        { "1", "unix:path=/somewhere", bus_dir.toRawUTF8(), false },
        { "", "unix:path=/somewhere", nullptr, true },
        { nullptr, nullptr, bus_dir.toRawUTF8(), true },
        { nullptr, "", bus_dir.toRawUTF8(), true },
        { nullptr, nullptr, empty_dir.toRawUTF8(), false },
        { nullptr, nullptr, file_dir.toRawUTF8(), false },
        { nullptr, "", "", false },
        { nullptr, nullptr, nullptr, false },
    };
    for (auto& row : rows)
        EXPECT_EQ (atspi::loaded_bridge::wanted (row.no_at_bridge, row.session_bus, row.runtime_dir), row.wanted)
            << (row.no_at_bridge ? row.no_at_bridge : "-") << " " << (row.session_bus ? row.session_bus : "-") << " "
            << (row.runtime_dir ? row.runtime_dir : "-");
    close (listening);
    folder.deleteRecursively();

    // Wanted, but no module beside the tests nor in a library folder next to them.
    const char* const bus = getenv ("DBUS_SESSION_BUS_ADDRESS");
    const std::string kept = bus != nullptr ? bus : "";
    setenv ("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    EXPECT_EQ (atspi::loaded_bridge::load(), nullptr);
    if (bus != nullptr)
        setenv ("DBUS_SESSION_BUS_ADDRESS", kept.c_str(), 1);
    else
        unsetenv ("DBUS_SESSION_BUS_ADDRESS");
}

TEST (glib_pump, runs_glib_s_timeouts_and_descriptors_from_juce_s_loop_and_sleeps_in_between)
{
    atspi::glib_pump pump;
    for (const guint ms : { 1u, 30u })
    {
        bool timed_out = false;
        g_timeout_add (ms, [] (gpointer flag) -> gboolean { *static_cast<bool*> (flag) = true; return G_SOURCE_REMOVE; }, &timed_out);
        pump.poke();
        EXPECT_TRUE (pump_until ([&] { return timed_out; }, 2000)) << "a timeout of " << ms << " ms";
    }
    bool was_read = false;

    int ends[2];
    ASSERT_EQ (pipe (ends), 0);
    g_unix_fd_add (ends[0], G_IO_IN, [] (gint fd, GIOCondition, gpointer flag) -> gboolean {
        char c;
        *static_cast<bool*> (flag) = read (fd, &c, 1) == 1;
        return G_SOURCE_REMOVE;
    }, &was_read);
    pump.poke();
    pump_for (50);
    ASSERT_FALSE (was_read);
    ASSERT_EQ (write (ends[1], "x", 1), 1);
    EXPECT_TRUE (pump_until ([&] { return was_read; }, 2000)) << "a descriptor";

    pump_for (50);
    const int runs = pump.runs();
    pump_for (500);
    EXPECT_EQ (pump.runs(), runs) << "GLib ran with nothing to do";
    close (ends[0]);
    close (ends[1]);
}

TEST (glib_pump, watches_a_descriptor_again_when_glib_waits_for_something_else_on_it)
{
    atspi::glib_pump pump;
    int ends[2];
    ASSERT_EQ (socketpair (AF_UNIX, SOCK_STREAM, 0, ends), 0);
    for (int end : ends)
        fcntl (end, F_SETFL, O_NONBLOCK);
    char chunk[4096] = {};
    while (write (ends[0], chunk, sizeof chunk) > 0) {} // full: not writable until the other end reads

    const auto ignore = [] (gint, GIOCondition, gpointer) -> gboolean { return G_SOURCE_CONTINUE; };
    const auto reading = g_unix_fd_add (ends[0], G_IO_IN, ignore, nullptr);
    pump.poke();
    pump_for (50);
    g_source_remove (reading);
    bool writable = false;
    g_unix_fd_add (ends[0], G_IO_OUT, [] (gint, GIOCondition, gpointer flag) -> gboolean { *static_cast<bool*> (flag) = true; return G_SOURCE_REMOVE; }, &writable);
    pump.poke();
    pump_for (50);
    ASSERT_FALSE (writable);

    while (read (ends[1], chunk, sizeof chunk) > 0) {}
    EXPECT_TRUE (pump_until ([&] { return writable; }, 2000)) << "the descriptor is watched for writing now";
    close (ends[0]);
    close (ends[1]);
}

TEST (atspi_tree, compares_while_a_menu_is_open_and_not_after)
{
    int comparisons = 0;
    atspi::tree nodes ([&] { ++comparisons; });
    juce::TextButton gain ("gain");
    nodes.node_for (gain);
    juce::Component menu; // what JUCE's popup menu is while open: modal
    menu.enterModalState (false);
    gain.triggerClick();
    pump_for (300);
    const int open = comparisons;
    pump_for (400);
    EXPECT_GT (comparisons, open) << "an open menu is looked at again and again";
    menu.exitModalState (0);
    pump_for (300);
    const int closed = comparisons;
    pump_for (400);
    EXPECT_EQ (comparisons, closed) << "and no longer once it has closed";
}

TEST (atspi_tree, the_node_of_a_deleted_component_is_defunct_at_once)
{
    atspi::tree nodes ([] {});
    auto tab = std::make_unique<juce::Component>();
    auto* node = nodes.node_for (*tab);
    ASSERT_EQ (atspi::component_of (node), tab.get());
    tab = nullptr;
    EXPECT_EQ (atspi::component_of (node), nullptr);
    auto* states = atk_object_ref_state_set (node);
    EXPECT_TRUE (atk_state_set_contains_state (states, ATK_STATE_DEFUNCT));
    g_object_unref (states);
    EXPECT_EQ (atk_object_get_n_accessible_children (node), 0);
    EXPECT_EQ (atk_object_get_parent (node), nullptr);
    EXPECT_EQ (atk_object_get_index_in_parent (node), -1);
}
