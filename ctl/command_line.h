#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ctl
{
enum class command
{
    help,
    version,
    list,
    show,
    set,
};

struct command_line
{
    command what = command::help;
    bool json = false;
    std::optional<std::string> interface_choice; // --interface N|PATH
    std::vector<std::string> assignments;          // set's NAME=VALUE words, as typed
};

// Reads the arguments after the program name. Options may stand anywhere; --help and
// --version win over everything else. Throws bad_input.
command_line parse_command_line (const std::vector<std::string>& args);
} // namespace ctl
