// veltrano-virtual: one running instance is one plugged-in Kelto Veltrano.
#include "host.h"
#include "state_file.h"

#include <cstdio>
#include <exception>

namespace
{
const char usage[] = R"(Usage: veltrano-virtual [options]

Plugs in one virtual Kelto Veltrano interface for the control panel on Linux. It
serves a Unix-domain socket in the bus folder until it is stopped: SIGINT (Ctrl+C)
or SIGTERM removes the socket and exits, which is the unplug. One client at a
time, of this user only; a second one is refused with EBUSY. Every change the
panel makes is printed, for example "byte 10 (48 V phantom power, channel 1): 0 -> 255".

Options:
  --name NAME          socket name in the bus folder (default veltrano-<pid>);
                       the interface's path is FOLDER/NAME
  --bus DIR            bus folder (default $KELTO_VIRTUAL_BUS, else
                       $XDG_RUNTIME_DIR/kelto-veltrano, else /tmp/kelto-veltrano-<uid>);
                       created with mode 0700; refused if it is a symbolic link,
                       if another user owns it or if others may write to it
  --state-file PATH    keep PATH up to date (rewritten atomically at start and
                       after every write) with lines:
                         name NAME / path PATH / firmware X.Y.Z / driver X.Y.Z /
                         block V0 ... V15 / requests N
)";

const char exit_status[] = R"(  --help               this text

Exit status: 0 after an unplug, 1 on a bad command line, 2 when the interface
cannot be plugged in (bus folder refused, name taken, socket error).
)";
} // namespace

int main (int argc, char** argv)
{
    vv_options settings;
    char error[512];
    if (vv_parse_options (argc - 1, argv + 1, VV_INTERFACE_OPTIONS | VV_HOST_OPTIONS, &settings, error, sizeof error) != 0)
    {
        std::fprintf (stderr, "veltrano-virtual: %s\n", error);
        return 1;
    }
    if (settings.help != 0)
    {
        std::fputs (usage, stdout);
        std::fputs (vv_interface_options_help, stdout);
        std::fputs (exit_status, stdout);
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
