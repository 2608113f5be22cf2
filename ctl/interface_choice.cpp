#include "ctl/interface_choice.h"
#include "ctl/bad_input.h"
#include "device/device.h"

#include <algorithm>
#include <cctype>

namespace ctl
{
namespace
{
using port = qv::port<qv::os_result>;

std::string identity (std::string path)
{
    if constexpr (port::case_insensitive)
        for (auto& ch : path)
            ch = static_cast<char> (std::tolower (static_cast<unsigned char> (ch)));
    return path;
}

std::string connected (const std::vector<std::string>& interfaces)
{
    std::string out;
    for (std::size_t i = 0; i < interfaces.size(); ++i)
        out += "\n  " + std::to_string (i + 1) + "  " + interfaces[i];
    return out;
}

bool is_number (const std::string& text)
{
    return ! text.empty() && text.size() < 10 && std::all_of (text.begin(), text.end(), [] (char ch) { return ch >= '0' && ch <= '9'; });
}
} // namespace

std::size_t choose_interface (const std::vector<std::string>& interfaces, const std::optional<std::string>& wanted)
{
    if (! wanted)
    {
        if (interfaces.empty())
            throw unavailable ("no interface is connected");
        if (interfaces.size() > 1)
            throw bad_input ("several interfaces are connected; choose one with --interface N or PATH:" + connected (interfaces));
        return 0;
    }
    if (is_number (*wanted))
    {
        const auto n = std::stoul (*wanted);
        if (n >= 1 && n <= interfaces.size())
            return n - 1;
    }
    else
    {
        const auto path = identity (*wanted);
        for (std::size_t i = 0; i < interfaces.size(); ++i)
            if (identity (interfaces[i]) == path)
                return i;
    }
    throw bad_input ("no interface " + *wanted + (interfaces.empty() ? "; none is connected" : "; connected:" + connected (interfaces)));
}
} // namespace ctl
