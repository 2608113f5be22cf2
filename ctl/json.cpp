#include "ctl/json.h"

#include <cstdio>

namespace ctl
{
namespace
{
// Length of the UTF-8 sequence at `i`, or 0 when the bytes there are none.
std::size_t sequence_length (const std::string& s, std::size_t i)
{
    const auto lead = static_cast<unsigned char> (s[i]);
    const std::size_t n = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
    if (n == 0 || i + n > s.size())
        return 0;
    for (std::size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char> (s[i + k]) & 0xC0) != 0x80)
            return 0;
    return n;
}

bool is_utf8 (const std::string& s)
{
    for (std::size_t i = 0; i < s.size();)
    {
        const auto n = sequence_length (s, i);
        if (n == 0)
            return false;
        i += n;
    }
    return true;
}

std::string escaped (unsigned value)
{
    char code[8];
    std::snprintf (code, sizeof code, "\\u%04x", value);
    return code;
}
} // namespace

std::string json_string (const std::string& text)
{
    const bool utf8 = is_utf8 (text);
    std::string out = "\"";
    for (const char ch : text)
    {
        const auto byte = static_cast<unsigned char> (ch);
        if (ch == '"' || ch == '\\')
            out += std::string ("\\") + ch;
        else if (byte < 0x20 || (byte >= 0x80 && ! utf8))
            out += escaped (byte);
        else
            out += ch;
    }
    return out + "\"";
}
} // namespace ctl
