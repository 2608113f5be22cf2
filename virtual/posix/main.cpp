// veltrano-virtual: one running instance is one plugged-in Kelto Veltrano.
#include "host.h"
#include "state_file.h"

#include <cstdio>
#include <exception>

int main (int argc, char** argv)
{
    options settings;
    std::string error;
    if (! parse_options (argc, argv, settings, error))
    {
        std::fprintf (stderr, "veltrano-virtual: %s\n", error.c_str());
        return 1;
    }
    if (settings.help)
    {
        std::fputs (usage_text().c_str(), stdout);
        return 0;
    }

    install_unplug_signals();
    try
    {
        host plugged (settings);
        std::printf ("plugged in: %s (firmware %u.%u.%u, driver %s)\n", plugged.path().c_str(),
                     settings.model.firmware[0], settings.model.firmware[1], settings.model.firmware[2],
                     version_text (settings.model.driver_version).c_str());
        std::fflush (stdout);
        plugged.run();
    }
    catch (const std::exception& e)
    {
        std::fprintf (stderr, "veltrano-virtual: %s\n", e.what());
        return 2;
    }
    std::printf ("unplugged\n");
    return 0;
}
