#pragma once

#include "ctl/controls.h"

#include <string>
#include <vector>

namespace ctl
{
// What --help prints, with every control's name and values.
std::string help_text (const std::vector<control>& controls);
} // namespace ctl
