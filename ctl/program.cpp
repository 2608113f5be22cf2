// No JUCE message manager is made: a command ends before any hot-plug event could
// matter, and without one JUCE drops the device port's event registrations.
#include "ctl/program.h"
#include "ctl/assignments.h"
#include "ctl/bad_input.h"
#include "ctl/command_line.h"
#include "ctl/console.h"
#include "ctl/controls.h"
#include "ctl/help.h"
#include "ctl/interface_choice.h"
#include "ctl/report.h"
#include "app/skin_root.h"
#include "device/device.h"

#include <new>

namespace ctl
{
namespace
{
using driver = qv::driver<os_result, device>;

interface_info info_of (const driver& interfaces, std::size_t i)
{
    const device& d = *interfaces[i];
    return { i + 1, d, d.firmware, d.version };
}

bool has_block (const device& d) { return d.firmware >= qv::protocol::first_firmware_with_block; }

void list (const driver& interfaces, bool json)
{
    std::vector<interface_info> all;
    for (std::size_t i = 0; i < interfaces.size(); ++i)
        all.push_back (info_of (interfaces, i));
    console::out (json ? list_json (all) : list_text (all));
}

void show (const driver& interfaces, std::size_t i, const std::vector<control>& controls, bool json)
{
    const device& d = *interfaces[i];
    const auto* block = has_block (d) ? d.parameters : nullptr;
    console::out (json ? show_json (info_of (interfaces, i), controls, block) : show_text (info_of (interfaces, i), controls, block));
}

std::vector<std::string> paths_of (const driver& interfaces)
{
    std::vector<std::string> paths;
    for (const auto& d : interfaces)
        paths.push_back (*d);
    return paths;
}

void set (device& d, const std::vector<assignment>& changes)
{
    if (! has_block (d))
        throw bad_input (static_cast<const std::string&> (d) + " has firmware " + version_text (d.firmware)
                         + ", which has no controls to set; update the firmware");
    std::uint8_t before[qv::protocol::block_size] = {};
    d.change ([&] (auto& block) {
        std::copy (std::begin (block), std::end (block), before);
        for (const auto& a : changes)
            block[a.target->byte] = a.byte;
    });
    console::out (change_lines (changes, before));
}

std::string system_text (os_result code)
{
    auto text = qv::message (code);
    while (! text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return (text.empty() ? "error" : text) + " (" + std::to_string (static_cast<std::uint32_t> (code)) + ")";
}

void complain (const std::string& what) { console::err ("veltrano-ctl: " + what + "\n"); }
} // namespace

int run (const std::vector<std::string>& args)
{
    try
    {
        const auto line = parse_command_line (args);
        if (line.what == command::version)
        {
            console::out (std::string ("veltrano-ctl ") + JUCE_APPLICATION_VERSION_STRING + "\n");
            return 0;
        }
        const auto controls = read_controls (*parse_skin());
        if (line.what == command::help)
        {
            console::out (help_text (controls));
            return 0;
        }
        // Every word is checked before any interface is opened.
        const auto changes = parse_assignments (controls, line.assignments);

        driver interfaces;
        if (line.what == command::list)
            list (interfaces, line.json);
        else if (line.what == command::show)
            show (interfaces, choose_interface (paths_of (interfaces), line.interface_choice), controls, line.json);
        else
            set (*interfaces[choose_interface (paths_of (interfaces), line.interface_choice)], changes);
        return 0;
    }
    catch (const bad_input& e)
    {
        complain (e.what());
        return 2;
    }
    catch (const unavailable& e)
    {
        complain (e.what());
        return 1;
    }
    catch (os_result code)
    {
        complain (system_text (code));
        return 1;
    }
    catch (const std::bad_alloc&)
    {
        complain ("out of memory");
        return 1;
    }
}
} // namespace ctl
