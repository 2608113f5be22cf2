#pragma once

#include "ctl/controls.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ctl
{
// One change that `set` makes: the control and the byte it gets.
struct assignment
{
    const control* target;
    std::uint8_t byte;
};

// Reads NAME=VALUE arguments, in their order. Throws bad_input for a word without "=",
// an unknown name (listing the known ones), a name given twice, an empty value or a
// value the control does not have.
std::vector<assignment> parse_assignments (const std::vector<control>& controls, const std::vector<std::string>& words);

// "output-12, headset-12, ...": every name, in block order.
std::string control_names (const std::vector<control>& controls);
} // namespace ctl
