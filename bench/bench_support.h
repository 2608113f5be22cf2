#pragma once

// What the panel's benchmarks share: timing and the report of a series, the process's
// memory and descriptors, and the two timed scenes every interface source is measured
// in: clicks, and interfaces plugged in until their tab is painted.

#include "tests/support/message_loop.h"
#include "ui/container.h"
#include "ui/view.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench
{
using clock = std::chrono::steady_clock;

inline double ms (clock::duration d) { return std::chrono::duration<double, std::milli> (d).count(); }

inline void report (const char* what, std::vector<double> samples)
{
    std::sort (samples.begin(), samples.end());
    const auto at = [&] (double q) { return samples[std::min (samples.size() - 1, (std::size_t) (q * (double) samples.size()))]; };
    std::printf ("%s: median %.3f ms, 90th percentile %.3f ms, max %.3f ms (%zu samples)\n", what, at (0.5), at (0.9),
                 samples.back(), samples.size());
}

inline long resident_kb()
{
    std::ifstream status ("/proc/self/status");
    for (std::string line; std::getline (status, line);)
        if (line.rfind ("VmRSS:", 0) == 0)
            return std::strtol (line.c_str() + 6, nullptr, 10);
    return -1;
}

inline int open_descriptors()
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

// 500 clicks on phantom power 1 of the first tab's expert page, each timed until the
// block is written and every control has refreshed.
inline void time_clicks (container& tabs, const char* what)
{
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
    report (what, samples);
}

// 50 times: `plug` starts an interface, which counts as plugged in once `plugged` holds;
// timed until its tab is added and, on a display, painted. `pull` takes it away again.
inline void time_plug_ins (container& tabs, const std::function<void()>& plug, const std::function<bool()>& plugged,
                           const std::function<void()>& pull, const std::string& event)
{
    std::unique_ptr<painted_frame> frame;
    if (std::getenv ("DISPLAY") != nullptr)
        frame = std::make_unique<painted_frame> (tabs);
    pump_for (200);

    std::vector<double> added, painted;
    for (int i = 0; i < 50; ++i)
    {
        plug();
        clock::time_point arrived {}, tab {};
        for (;;)
        {
            if (arrived == clock::time_point {} && plugged())
                arrived = clock::now();
            if (tab == clock::time_point {} && tabs.getNumTabs() == 2)
                tab = clock::now();
            if (tab != clock::time_point {} && (frame == nullptr || frame->last_paint > tab))
                break;
            juce::MessageManager::getInstance()->runDispatchLoopUntil (0);
        }
        if (arrived == clock::time_point {})
            arrived = tab;
        added.push_back (ms (tab - arrived));
        if (frame != nullptr)
            painted.push_back (ms (frame->last_paint - arrived));
        pull();
        pump_until ([&] { return tabs.getNumTabs() == 1; }, 3000);
    }
    report (("interface plugged in (" + event + ") to its tab added").c_str(), added);
    if (! painted.empty())
        report (("interface plugged in (" + event + ") to its tab painted on the display").c_str(), painted);
}
} // namespace bench
