#include "ctl/assignments.h"
#include "ctl/bad_input.h"
#include "ctl/value_parsing.h"

#include <algorithm>

namespace ctl
{
std::string control_names (const std::vector<control>& controls)
{
    std::string out;
    for (const auto& c : controls)
        out += (out.empty() ? "" : ", ") + c.name;
    return out;
}

std::vector<assignment> parse_assignments (const std::vector<control>& controls, const std::vector<std::string>& words)
{
    std::vector<assignment> result;
    for (const auto& word : words)
    {
        const auto equals = word.find ('=');
        if (equals == std::string::npos)
            throw bad_input ("\"" + word + "\" is not NAME=VALUE");
        const auto name = word.substr (0, equals);
        const auto value = word.substr (equals + 1);
        const auto* target = find_control (controls, name);
        if (target == nullptr)
            throw bad_input ("no control is named \"" + name + "\"; the names are: " + control_names (controls));
        if (std::any_of (result.begin(), result.end(), [&] (const assignment& a) { return a.target == target; }))
            throw bad_input (name + " is given more than once");
        if (value.empty())
            throw bad_input (name + "= gives no value; " + name + " takes: " + accepted_values (*target));
        result.push_back ({ target, parse_value (*target, value) });
    }
    return result;
}
} // namespace ctl
