// Figures for the panel's pages and tabs against real veltrano-virtual processes, in one
// process with the same container the program builds: a click to the block written and
// every control refreshed, an interface plugged in to its tab, and what many plug and pull
// cycles leave behind. Prints figures; asserts nothing.
//
// Usage: panel_bench [CYCLES]   (default 500)
#include "app/skin_root.h"
#include "bench/bench_support.h"
#include "tests/support/virtual_interface.h"
#include "ui/container.h"
#include "ui/view.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace bench;

namespace
{
    bool is_socket (const std::string& path)
    {
        struct stat info {};
        return ::lstat (path.c_str(), &info) == 0 && S_ISSOCK (info.st_mode);
    }

    void clicks (const juce::XmlElement& root, const temporary_bus& bus)
    {
        virtual_interface vi (bus, "click");
        container tabs (root);
        time_clicks (tabs, "click to block written and all 12 controls refreshed");
    }

    void plug_ins (const juce::XmlElement& root, const temporary_bus& bus)
    {
        container tabs (root);
        std::unique_ptr<virtual_interface> vi;
        time_plug_ins (
            tabs, [&] { vi = std::make_unique<virtual_interface> (bus, "plug", std::vector<std::string> {}, false); },
            [&] { return is_socket (vi->path()); }, [&] { vi.reset(); }, "socket made");
    }

    void cycles (const juce::XmlElement& root, const temporary_bus& bus, int count)
    {
        container tabs (root);
        tabs.setSize (475, 212);
        long rss_warm = 0;
        int fds_warm = 0;
        int missed = 0;
        const auto start = clock::now();
        for (int i = 1; i <= count; ++i)
        {
            {
                virtual_interface vi (bus, "cycle");
                missed += ! pump_until ([&] { return tabs.getNumTabs() == 2; }, 3000);
                vi.unplug();
                missed += ! pump_until ([&] { return tabs.getNumTabs() == 1 && tabs.empty(); }, 3000);
            }
            if (i == std::min (50, count))
            {
                rss_warm = resident_kb();
                fds_warm = open_descriptors();
            }
        }
        std::printf ("%d plug and pull cycles with the panel open (%.1f s, %d events missed):\n", count,
                     ms (clock::now() - start) / 1000.0, missed);
        std::printf ("  after %d: %ld KB resident, %d descriptors; after %d: %ld KB resident, %d descriptors\n", std::min (50, count),
                     rss_warm, fds_warm, count, resident_kb(), open_descriptors());
    }
}

int main (int argc, char** argv)
{
    const int count = argc > 1 ? std::atoi (argv[1]) : 500;
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    auto root = parse_skin();
    temporary_bus bus;

    std::printf ("before: %ld KB resident, %d descriptors\n", resident_kb(), open_descriptors());
    clicks (*root, bus);
    plug_ins (*root, bus);
    cycles (*root, bus, count);
    return 0;
}
