#pragma once

#include <string>

// The program's two output streams, in UTF-8. A Windows console is written in UTF-16, so
// that the tooltips' typographic quotes show as such whatever its code page is.
namespace ctl::console
{
void out (const std::string& text);
void err (const std::string& text);
} // namespace ctl::console
