#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ctl
{
// The position in `paths` (the interfaces in list order) of the one a command works on:
// --interface as a number from 1 or as a path, compared as the device library compares
// paths; without it, the only one there is. Throws bad_input when the choice names none,
// or when several are connected and none is named (listing them); unavailable when none
// is connected and none is named.
std::size_t choose_interface (const std::vector<std::string>& paths, const std::optional<std::string>& wanted);
} // namespace ctl
