// The real container and Win32 driver under wine against interfaces of the virtual bus
// driver, plugged and pulled through its command-line program: exclusive open, arrival
// and removal. The device changes are delivered as crafted WM_DEVICECHANGE messages,
// since wine reports neither interface names an A window can read nor per-handle
// removals.
#include "app/skin_root.h"
#include "tests/win32/win32_test_support.h"
#include "ui/container.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <stdexcept>
#include <sstream>

using namespace win32_test;

namespace
{
// The command-line program of the virtual bus: VELTRANO_VIRTUAL_EXE, else where the
// build puts it beside this program.
std::string virtual_program()
{
    char configured[MAX_PATH] {};
    if (GetEnvironmentVariableA ("VELTRANO_VIRTUAL_EXE", configured, MAX_PATH) > 0)
        return configured;
    char self[MAX_PATH] {};
    GetModuleFileNameA (nullptr, self, MAX_PATH);
    std::string folder (self);
    folder.erase (folder.find_last_of ('\\'));
    return folder.substr (0, folder.find_last_of ('\\')) + "\\virtual\\win32\\veltrano-virtual.exe";
}

// Runs the program with `arguments`; its standard output, or a failure naming what went wrong.
std::string run_virtual (const std::string& arguments)
{
    SECURITY_ATTRIBUTES inherit { sizeof inherit, nullptr, TRUE };
    HANDLE read_end = nullptr, write_end = nullptr;
    if (! CreatePipe (&read_end, &write_end, &inherit, 0))
        throw std::runtime_error ("CreatePipe failed");
    SetHandleInformation (read_end, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOA startup {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = write_end;
    startup.hStdError = GetStdHandle (STD_ERROR_HANDLE);
    startup.hStdInput = GetStdHandle (STD_INPUT_HANDLE);
    PROCESS_INFORMATION process {};
    std::string command = "\"" + virtual_program() + "\" " + arguments;
    const BOOL started = CreateProcessA (nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle (write_end);
    if (! started)
    {
        CloseHandle (read_end);
        throw std::runtime_error ("cannot start " + command + ": error " + std::to_string (GetLastError()));
    }

    std::string output;
    char chunk[256];
    DWORD got = 0;
    while (ReadFile (read_end, chunk, sizeof chunk, &got, nullptr) && got > 0)
        output.append (chunk, got);
    CloseHandle (read_end);

    const bool ended = WaitForSingleObject (process.hProcess, 60000) == WAIT_OBJECT_0;
    DWORD status = 1;
    GetExitCodeProcess (process.hProcess, &status);
    CloseHandle (process.hProcess);
    CloseHandle (process.hThread);
    if (! ended || status != 0)
        throw std::runtime_error (command + " failed (exit " + std::to_string (status) + "): " + output);
    return output;
}

struct plugged
{
    std::string number;
    std::string path;
};

plugged plug (const std::string& options)
{
    std::istringstream line (run_virtual ("plug " + options));
    plugged p;
    line >> p.number >> p.path;
    if (p.path.empty())
        throw std::runtime_error ("plug printed no interface path");
    return p;
}

std::vector<juce::String> titles (const container& tabs)
{
    std::vector<juce::String> result;
    for (auto& name : tabs.getTabNames())
        result.push_back (name);
    return result;
}

device* listed (container& tabs, const std::string& path)
{
    for (auto& d : tabs)
        if (*d == lower (path))
            return d.get();
    return nullptr;
}
} // namespace

class windows_hotplug : public ::testing::Test
{
protected:
    void TearDown() override
    {
        for (auto& p : pulled_at_end)
            try
            {
                run_virtual ("unplug " + p.number);
            }
            catch (const std::exception&)
            {
            }
    }

    plugged plug_for_test (const std::string& options)
    {
        auto p = plug (options);
        pulled_at_end.push_back (p);
        return p;
    }

    void unplug (const plugged& p)
    {
        run_virtual ("unplug " + p.number);
        pulled_at_end.erase (std::remove_if (pulled_at_end.begin(), pulled_at_end.end(),
                                             [&] (const plugged& q) { return q.number == p.number; }),
                             pulled_at_end.end());
    }

    std::unique_ptr<juce::XmlElement> root = parse_skin();
    std::vector<plugged> pulled_at_end;
};

TEST_F (windows_hotplug, an_interface_is_held_exclusively_and_its_arrival_and_removal_move_its_tab)
{
    const auto present = plug_for_test ("");
    container tabs (*root);
    const HWND hwnd = notification_window_of (tabs);
    ASSERT_NE (hwnd, nullptr) << "no notification window points into the container";
    const juce::String present_title = container::title_of (lower (present.path));
    ASSERT_EQ (titles (tabs), (std::vector<juce::String> { present_title, "About" }));
    // Exclusive: Windows refuses the second open; wine lets it through, and the driver then
    // refuses its requests. Either way a second panel cannot start on a held interface.
    EXPECT_EQ (thrown_code ([&] { container second (*root); }), ERROR_SHARING_VIOLATION);

    const auto arriving = plug_for_test ("--firmware 1.2.3 --driver 2.5.1 --block 7 1 2 3 4 5 6 7 255 0 255 0 255 9 8 7");
    send_arrival (hwnd, arriving.path);

    const juce::String arriving_title = container::title_of (lower (arriving.path));
    EXPECT_EQ (titles (tabs), (std::vector<juce::String> { present_title, arriving_title, "About" }));
    device* added = listed (tabs, arriving.path);
    ASSERT_NE (added, nullptr);
    EXPECT_EQ (added->firmware, 0x01020300u);
    EXPECT_EQ (added->version >> 8, 0x020501u);
    const std::uint8_t block[16] { 7, 1, 2, 3, 4, 5, 6, 7, 255, 0, 255, 0, 255, 9, 8, 7 };
    EXPECT_EQ (std::memcmp (added->parameters, block, 16), 0) << "the block was not read at arrival";

    // Pulled out: the system reports the handle gone.
    const HANDLE handle = added->handle;
    unplug (arriving);
    send_handle_removal (hwnd, handle, DBT_DEVICEREMOVECOMPLETE);
    EXPECT_EQ (titles (tabs), (std::vector<juce::String> { present_title, "About" }));
    EXPECT_EQ (listed (tabs, arriving.path), nullptr);

    send_handle_removal (hwnd, tabs.front()->handle, DBT_DEVICEQUERYREMOVE);
    EXPECT_EQ (titles (tabs), std::vector<juce::String> { "About" });
}
