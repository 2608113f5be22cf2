// Figures for the Linux device layer against real veltrano-virtual processes:
// request round trips, plug-in to on_arrival, and what 1,000 plug and pull cycles
// leave behind. Prints figures; asserts nothing.
#include "device/device.h"
#include "tests/support/virtual_interface.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <string>
#include <vector>

namespace
{
using clock = std::chrono::steady_clock;

class timing_driver : public qv::driver<os_result, device>
{
public:
    void on_arrival (device&) override
    {
        ++arrivals;
        last_arrival = clock::now();
    }
    void on_removal (device&) override { ++removals; }

    int arrivals = 0, removals = 0;
    clock::time_point last_arrival;
};

double micros (clock::duration d) { return std::chrono::duration<double, std::micro> (d).count(); }

void report (const char* what, std::vector<double> samples, const char* unit)
{
    std::sort (samples.begin(), samples.end());
    const auto at = [&] (double q) { return samples[std::min (samples.size() - 1, static_cast<std::size_t> (q * samples.size()))]; };
    std::printf ("%-44s n=%zu  median %.1f %s  p99 %.1f %s  max %.1f %s\n", what, samples.size(), at (0.5), unit, at (0.99),
                 unit, samples.back(), unit);
}

int open_descriptors()
{
    int count = 0;
    if (DIR* d = ::opendir ("/proc/self/fd"))
    {
        while (const dirent* e = ::readdir (d))
            count += e->d_name[0] != '.';
        ::closedir (d);
    }
    return count - 1; // the listing's own descriptor
}

long resident_kb()
{
    std::ifstream status ("/proc/self/status");
    for (std::string line; std::getline (status, line);)
        if (line.rfind ("VmRSS:", 0) == 0)
            return std::stol (line.substr (6));
    return -1;
}

template <class F>
std::vector<double> time_runs (int runs, F&& f)
{
    std::vector<double> samples;
    samples.reserve (static_cast<std::size_t> (runs));
    for (int i = 0; i < runs; ++i)
    {
        const auto start = clock::now();
        f (i);
        samples.push_back (micros (clock::now() - start));
    }
    return samples;
}
} // namespace

int main (int argc, char** argv)
{
    const int runs = argc > 1 ? std::atoi (argv[1]) : 2000;
    const int cycles = argc > 2 ? std::atoi (argv[2]) : 1000;
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    temporary_bus bus;

    {
        virtual_interface one (bus, "bench");
        timing_driver driver;
        device& d = *driver.front();
        report ("one control request (read firmware)", time_runs (runs, [&] (int) { d.read_firmware(); }), "us");
        report ("read-modify-write of the block", time_runs (runs, [&] (int i) {
                    d.transfer (false);
                    d.parameters[10] = static_cast<std::uint8_t> (i & 1 ? 255 : 0);
                    d.transfer (true);
                }), "us");
    }

    {
        timing_driver driver;
        std::vector<double> arrival;
        for (int i = 0; i < 20; ++i)
        {
            const auto start = clock::now();
            virtual_interface plugged (bus, "arrival", {}, false);
            pump_until ([&] { return driver.arrivals == i + 1; }, 5000);
            arrival.push_back (micros (driver.last_arrival - start) / 1000.0);
            plugged.unplug();
            pump_until ([&] { return driver.removals == i + 1; }, 5000);
        }
        report ("start of veltrano-virtual to on_arrival", arrival, "ms");
    }

    {
        timing_driver driver;
        const int fds_before = open_descriptors();
        const long rss_before = resident_kb();
        const auto start = clock::now();
        int completed = 0;
        for (int i = 0; i < cycles; ++i)
        {
            virtual_interface plugged (bus, "cycle");
            if (! pump_until ([&] { return driver.arrivals == i + 1; }, 5000))
                break;
            plugged.unplug();
            if (! pump_until ([&] { return driver.removals == i + 1; }, 5000))
                break;
            ++completed;
        }
        pump_for (50);
        const double seconds = std::chrono::duration<double> (clock::now() - start).count();
        std::printf ("%d plug and pull cycles in %.1f s: arrivals %d, removals %d, list %zu\n", completed, seconds,
                     driver.arrivals, driver.removals, driver.size());
        std::printf ("open descriptors before %d, after %d\n", fds_before, open_descriptors());
        std::printf ("VmRSS before %ld kB, after %ld kB\n", rss_before, resident_kb());
    }
    return 0;
}
