#pragma once

#include <string>

namespace ctl
{
// `text` as a JSON string, quotes included. Valid UTF-8 passes through; text that is not
// (a path may hold any bytes) has each byte above 127 written as \u00XX.
std::string json_string (const std::string& text);
} // namespace ctl
