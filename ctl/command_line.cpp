#include "ctl/command_line.h"
#include "ctl/bad_input.h"

#include <algorithm>

namespace ctl
{
namespace
{
const std::string interface_option = "--interface";

bool wants (const std::vector<std::string>& args, const char* a, const char* b = nullptr)
{
    return std::any_of (args.begin(), args.end(), [&] (const std::string& x) { return x == a || (b != nullptr && x == b); });
}
} // namespace

command_line parse_command_line (const std::vector<std::string>& args)
{
    command_line line;
    if (wants (args, "--help", "-h"))
        return line;
    if (wants (args, "--version"))
    {
        line.what = command::version;
        return line;
    }

    std::vector<std::string> words;
    for (std::size_t i = 0; i < args.size(); ++i)
    {
        const auto& arg = args[i];
        if (arg == "--json")
            line.json = true;
        else if (arg == interface_option || arg.rfind (interface_option + "=", 0) == 0)
        {
            if (line.interface_choice)
                throw bad_input ("--interface is given more than once");
            if (arg != interface_option)
                line.interface_choice = arg.substr (interface_option.size() + 1);
            else if (i + 1 < args.size())
                line.interface_choice = args[++i];
            if (! line.interface_choice || line.interface_choice->empty())
                throw bad_input ("--interface needs a number from \"veltrano-ctl list\" or a path");
        }
        else if (arg.size() > 1 && arg[0] == '-')
            throw bad_input ("unknown option " + arg);
        else
            words.push_back (arg);
    }

    if (words.empty())
        throw bad_input ("no command: list, show or set");
    const auto name = words.front();
    words.erase (words.begin());
    if (name == "list")
        line.what = command::list;
    else if (name == "show")
        line.what = command::show;
    else if (name == "set")
        line.what = command::set;
    else
        throw bad_input ("unknown command \"" + name + "\": list, show or set");

    if (line.what == command::list && line.interface_choice)
        throw bad_input ("list shows every interface; it takes no --interface");
    if (line.what == command::set && line.json)
        throw bad_input ("--json goes with list and show");
    if (line.what != command::set && ! words.empty())
        throw bad_input (name + " takes no argument \"" + words.front() + "\"");
    if (line.what == command::set && words.empty())
        throw bad_input ("set needs at least one NAME=VALUE");
    line.assignments = std::move (words);
    return line;
}
} // namespace ctl
