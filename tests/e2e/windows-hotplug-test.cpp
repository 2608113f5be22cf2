// The real container and Win32 driver under wine against interfaces of the virtual bus
// driver, plugged and pulled through its command-line program (VELTRANO_VIRTUAL_EXE):
// exclusive open, arrival and removal. The device changes are delivered as crafted
// WM_DEVICECHANGE messages, since wine reports neither interface names an A window can
// read nor per-handle removals. The session that runs this pulls what is left at its end.
#include "app/skin_root.h"
#include "tests/win32/win32_test_support.h"
#include "ui/container.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

using namespace win32_test;

namespace
{
// Runs the virtual bus's program with `arguments`; what it printed.
std::string run_virtual (const std::string& arguments)
{
    const char* program = std::getenv ("VELTRANO_VIRTUAL_EXE");
    const std::string command = std::string (program ? program : "veltrano-virtual.exe") + " " + arguments;
    std::string output;
    FILE* out = _popen (command.c_str(), "r");
    for (int c; out != nullptr && (c = std::fgetc (out)) != EOF;)
        output += static_cast<char> (c);
    EXPECT_TRUE (out != nullptr && _pclose (out) == 0) << command << " failed: " << output;
    return output;
}

// Plugs an interface: its number and its path.
std::pair<std::string, std::string> plug()
{
    std::pair<std::string, std::string> plugged;
    std::istringstream (run_virtual ("plug")) >> plugged.first >> plugged.second;
    return plugged;
}
} // namespace

TEST (windows_hotplug, an_interface_is_held_exclusively_and_its_arrival_and_removal_move_its_tab)
{
    const auto root = parse_skin();
    const auto present = plug().second;
    // The bus lists an interface a moment before it opens; the system would announce it then.
    std::unique_ptr<container> made;
    for (int waited = 0; made == nullptr; waited += 20, Sleep (20))
        try { made = std::make_unique<container> (*root); } catch (...) { if (waited > 5000) throw; }
    container& tabs = *made;
    const HWND hwnd = notification_window_of (tabs);
    ASSERT_NE (hwnd, nullptr) << "no notification window points into the container";
    const auto present_title = container::title_of (recased (present));
    ASSERT_EQ (tabs.getTabNames(), juce::StringArray (present_title, "About"));
    // Exclusive: Windows refuses the second open; wine lets it through, and the driver then
    // refuses its requests. Either way a second panel cannot start on a held interface.
    EXPECT_EQ (thrown_code ([&] { container second (*root); }), ERROR_SHARING_VIOLATION);

    const auto [number, arriving] = plug();
    for (int waited = 0; tabs.getNumTabs() < 3 && waited < 5000; waited += 20, Sleep (20))
        send_arrival (hwnd, arriving); // an arrival of a listed interface changes nothing
    EXPECT_EQ (tabs.getTabNames(), juce::StringArray (present_title, container::title_of (recased (arriving)), "About"));

    // Pulled out: the system reports the handle gone, on either message of the pair.
    const HANDLE handle = tabs.back()->handle;
    run_virtual ("unplug " + number);
    send_handle_removal (hwnd, handle);
    EXPECT_EQ (tabs.getTabNames(), juce::StringArray (present_title, "About"));
    send_handle_removal (hwnd, tabs.front()->handle, DBT_DEVICEQUERYREMOVE);
    EXPECT_EQ (tabs.getTabNames(), juce::StringArray ("About"));
}
