#pragma once

#include "ctl/controls.h"

#include <cstdint>
#include <string>

namespace ctl
{
// The byte that `text` sets control `c` to: one of its words (letter case and blanks do
// not count), else one of its own bytes as a decimal number, bare or after "#". A word
// wins over the same text read as a number; "#" always means the byte. Throws bad_input
// that lists the control's values.
std::uint8_t parse_value (const control& c, const std::string& text);

// "on, off; or as a byte: 255, 0": what the control accepts, for messages and help.
std::string accepted_values (const control& c);
} // namespace ctl
