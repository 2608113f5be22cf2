#include "options.h"

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace
{
bool parse_unsigned (const std::string& text, unsigned long limit, unsigned long& value)
{
    if (text.empty() || text.find_first_not_of ("0123456789") != std::string::npos)
        return false;
    errno = 0;
    value = std::strtoul (text.c_str(), nullptr, 10);
    return errno == 0 && value <= limit;
}

std::vector<std::string> split_values (const std::string& text)
{
    std::string spaced = text;
    for (auto& c : spaced)
        if (c == ',')
            c = ' ';
    std::istringstream in (spaced);
    std::vector<std::string> values;
    for (std::string v; in >> v;)
        values.push_back (v);
    return values;
}
} // namespace

bool parse_options (int argc, char** argv, options& out, std::string& error)
{
    vv_model_init (&out.model);
    std::vector<std::string> args (argv + 1, argv + argc);

    for (std::size_t i = 0; i < args.size(); ++i)
    {
        const std::string& option = args[i];
        if (option == "--help" || option == "-h")
        {
            out.help = true;
            return true;
        }
        if (i + 1 >= args.size())
        {
            error = option.rfind ("--", 0) == 0 ? option + " needs a value" : "unknown argument '" + option + "'";
            return false;
        }
        const std::string& value = args[++i];
        unsigned long number = 0;

        if (option == "--name")
        {
            if (value.empty() || value[0] == '.' || value.find ('/') != std::string::npos)
            {
                error = "--name: '" + value + "' is not a plain file name";
                return false;
            }
            out.name = value;
        }
        else if (option == "--bus")
            out.bus = value;
        else if (option == "--state-file")
            out.state_file = value;
        else if (option == "--firmware")
        {
            if (vv_parse_version (value.c_str(), &out.model.firmware[0], &out.model.firmware[1], &out.model.firmware[2]) != 0)
            {
                error = "--firmware: '" + value + "' is not X.Y.Z (X 0-255, Y 0-25, Z 0-9)";
                return false;
            }
        }
        else if (option == "--driver")
        {
            uint8_t major, minor, patch;
            if (vv_parse_version (value.c_str(), &major, &minor, &patch) != 0)
            {
                error = "--driver: '" + value + "' is not X.Y.Z (X 0-255, Y 0-25, Z 0-9)";
                return false;
            }
            out.model.driver_version = vv_version_word (major, minor, patch);
        }
        else if (option == "--block")
        {
            // Sixteen values, as one argument ("0 40 34 ..." or "0,40,34,...") or sixteen.
            auto values = split_values (value);
            if (values.size() == 1)
                for (; values.size() < VV_BLOCK_SIZE && i + 1 < args.size() && args[i + 1].rfind ("--", 0) != 0; ++i)
                    values.push_back (args[i + 1]);
            if (values.size() != VV_BLOCK_SIZE)
            {
                error = "--block needs 16 byte values, got " + std::to_string (values.size());
                return false;
            }
            for (int b = 0; b < VV_BLOCK_SIZE; ++b)
            {
                if (! parse_unsigned (values[b], 255, number))
                {
                    error = "--block: value " + std::to_string (b) + " ('" + values[b] + "') is not 0-255";
                    return false;
                }
                out.model.block[b] = static_cast<uint8_t> (number);
            }
        }
        else if (option == "--delay-ms" || option == "--fail-after" || option == "--vanish-after")
        {
            if (! parse_unsigned (value, 0x7FFFFFFF, number))
            {
                error = option + ": '" + value + "' is not a whole number";
                return false;
            }
            if (option == "--delay-ms")
                out.model.faults.reply_delay_ms = static_cast<uint32_t> (number);
            else if (option == "--fail-after")
                out.model.faults.fail_after = static_cast<int32_t> (number);
            else
                out.model.faults.vanish_after = static_cast<int32_t> (number);
        }
        else
        {
            error = "unknown option '" + option + "' (see --help)";
            return false;
        }
    }
    return true;
}

std::string usage_text()
{
    return R"(Usage: veltrano-virtual [options]

Plugs in one virtual Kelto Veltrano interface for the control panel on Linux. It
serves a Unix-domain socket in the bus folder until it is stopped: SIGINT (Ctrl+C)
or SIGTERM removes the socket and exits, which is the unplug. One client at a
time; a second one is refused with EBUSY. Every change the panel makes is printed,
for example "byte 10 (48 V phantom power, channel 1): 0 -> 255".

Options:
  --name NAME          socket name in the bus folder (default veltrano-<pid>);
                       the interface's path is FOLDER/NAME
  --bus DIR            bus folder (default $KELTO_VIRTUAL_BUS, else
                       $XDG_RUNTIME_DIR/kelto-veltrano, else /tmp/kelto-veltrano-<uid>);
                       created with mode 0700; refused if another user owns it or
                       others may write to it
  --firmware X.Y.Z     firmware version (default 1.1.1; Y 0-25, Z 0-9); below
                       1.1.1 the panel shows only the update picture
  --driver X.Y.Z       kernel driver version reported (default 1.0.4)
  --block V0 ... V15   the 16 parameter bytes at power-on, 0-255 each, as sixteen
                       arguments or one ("0 40 34 ..." or "0,40,34,...");
                       default: gains at 0 dB, switches off
  --state-file PATH    keep PATH up to date (rewritten atomically at start and
                       after every write) with lines:
                         name NAME / path PATH / firmware X.Y.Z / driver X.Y.Z /
                         block V0 ... V15 / requests N
  --delay-ms N         wait N ms before each reply (the panel gives up after 2000)
  --fail-after N       answer N requests, then fail every later one (EIO)
  --vanish-after N     answer N requests, then unplug at the next one
  --help               this text

Exit status: 0 after an unplug, 1 on a bad command line, 2 when the interface
cannot be plugged in (bus folder refused, name taken, socket error).
)";
}
