#pragma once

#include "device/device.h"

#include <deque>
#include <optional>
#include <string>

namespace ctl
{
using interface_list = std::deque<qv::reference<device>>;

// The position in `interfaces` of the one a command works on: --interface as a number from 1 in list order or as a
// path (compared as the device library compares paths); without it, the only one there
// is. Throws bad_input when the choice names none or when several are connected and none
// is named (listing them), unavailable when none is connected and none is named.
std::size_t choose_interface (const interface_list& interfaces, const std::optional<std::string>& wanted);
} // namespace ctl
