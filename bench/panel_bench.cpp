// Figures for the panel's pages and tabs against real veltrano-virtual processes, in one
// process with the same container the program builds: a click to the block written and
// every control refreshed, an interface plugged in to its tab, and what many plug and pull
// cycles leave behind. Prints figures; asserts nothing.
//
// Usage: panel_bench [CYCLES]   (default 500)
#include "app/skin_root.h"
#include "tests/support/virtual_interface.h"
#include "ui/container.h"
#include "ui/view.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{
    using clock = std::chrono::steady_clock;

    double ms (clock::duration d) { return std::chrono::duration<double, std::milli> (d).count(); }

    void report (const char* what, std::vector<double> samples)
    {
        std::sort (samples.begin(), samples.end());
        const auto at = [&] (double q) { return samples[std::min (samples.size() - 1, (std::size_t) (q * (double) samples.size()))]; };
        std::printf ("%s: median %.3f ms, 90th percentile %.3f ms, max %.3f ms (%zu samples)\n",
                     what, at (0.5), at (0.9), samples.back(), samples.size());
    }

    long resident_kb()
    {
        std::ifstream status ("/proc/self/status");
        for (std::string line; std::getline (status, line);)
            if (line.rfind ("VmRSS:", 0) == 0)
                return std::strtol (line.c_str() + 6, nullptr, 10);
        return -1;
    }

    int open_descriptors()
    {
        int count = 0;
        if (DIR* dir = ::opendir ("/proc/self/fd"))
        {
            while (auto* entry = ::readdir (dir))
                count += entry->d_name[0] != '.';
            ::closedir (dir);
        }
        return count - 1; // the one opendir holds
    }

    bool is_socket (const std::string& path)
    {
        struct stat info {};
        return ::lstat (path.c_str(), &info) == 0 && S_ISSOCK (info.st_mode);
    }

    void clicks (const juce::XmlElement& root, const temporary_bus& bus)
    {
        virtual_interface vi (bus, "click");
        container tabs (root);
        auto* page = dynamic_cast<view*> (tabs.getTabContentComponent (0));
        if (page == nullptr)
            return;
        // The expert page: twelve controls to refresh after each click.
        page->buttonClicked (const_cast<juce::ImageButton*> (&page->mode_button()));
        button* phantom = nullptr;
        for (auto* b : *page)
            if (b->getName() == "phantom_power_1")
                phantom = b;

        std::vector<double> samples;
        for (int i = 0; i < 500; ++i)
        {
            const auto start = clock::now();
            // What JUCE does for a click: the control's own handling, then its listener's.
            phantom->clicked();
            page->buttonClicked (phantom);
            samples.push_back (ms (clock::now() - start));
        }
        report ("click to block written and all 12 controls refreshed", samples);
    }

    // A window around the container that notes when it last painted: JUCE paints a
    // top-level component's children, then its paintOverChildren, in every paint pass.
    class painted_frame : public juce::Component
    {
    public:
        explicit painted_frame (juce::Component& content)
        {
            addAndMakeVisible (content);
            setBounds (0, 0, 634, 550);
            addToDesktop (0);
            setVisible (true);
        }
        void paintOverChildren (juce::Graphics&) override { last_paint = clock::now(); }
        clock::time_point last_paint {};
    };

    void plug_ins (const juce::XmlElement& root, const temporary_bus& bus)
    {
        container tabs (root);
        // On a display (bench/panel runs it on Xvfb) the tab is also timed until painted.
        std::unique_ptr<painted_frame> frame;
        if (std::getenv ("DISPLAY") != nullptr)
            frame = std::make_unique<painted_frame> (tabs);
        pump_for (200);

        std::vector<double> added, painted;
        for (int i = 0; i < 50; ++i)
        {
            virtual_interface vi (bus, "plug", {}, false);
            clock::time_point plugged {}, tab {};
            for (;;)
            {
                if (plugged == clock::time_point {} && is_socket (vi.path()))
                    plugged = clock::now();
                if (tab == clock::time_point {} && tabs.getNumTabs() == 2)
                    tab = clock::now();
                if (tab != clock::time_point {} && (frame == nullptr || frame->last_paint > tab))
                    break;
                juce::MessageManager::getInstance()->runDispatchLoopUntil (0);
            }
            if (plugged == clock::time_point {})
                plugged = tab;
            added.push_back (ms (tab - plugged));
            if (frame != nullptr)
                painted.push_back (ms (frame->last_paint - plugged));
            vi.unplug();
            pump_until ([&] { return tabs.getNumTabs() == 1; }, 3000);
        }
        report ("interface plugged in (socket made) to its tab added", added);
        if (! painted.empty())
            report ("interface plugged in (socket made) to its tab painted on the display", painted);
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
