#include "ctl/value_parsing.h"
#include "ctl/bad_input.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace ctl
{
namespace
{
std::string folded (const std::string& text)
{
    std::string out;
    for (const char ch : text)
        if (! std::isspace (static_cast<unsigned char> (ch)))
            out += static_cast<char> (std::tolower (static_cast<unsigned char> (ch)));
    return out;
}

// 0 to 255 in plain decimal digits; anything else is no byte.
std::optional<std::uint8_t> as_byte (const std::string& text)
{
    if (text.empty() || text.size() > 3 || ! std::all_of (text.begin(), text.end(), [] (char ch) { return ch >= '0' && ch <= '9'; }))
        return std::nullopt;
    const int value = std::stoi (text);
    if (value > 255)
        return std::nullopt;
    return static_cast<std::uint8_t> (value);
}

bool has_byte (const control& c, std::uint8_t byte)
{
    return std::any_of (c.choices.begin(), c.choices.end(), [&] (const choice& x) { return x.byte == byte; });
}

// Descending runs of one step become "40 to 11".
std::string byte_list (const control& c)
{
    std::string out;
    const auto& list = c.choices;
    for (std::size_t i = 0; i < list.size();)
    {
        std::size_t end = i;
        while (end + 1 < list.size() && list[end + 1].byte + 1 == list[end].byte)
            ++end;
        if (! out.empty())
            out += ", ";
        out += std::to_string (list[i].byte);
        if (end > i)
            out += (end == i + 1 ? ", " : " to ") + std::to_string (list[end].byte);
        i = end + 1;
    }
    return out;
}

[[noreturn]] void refuse (const control& c, const std::string& text)
{
    throw bad_input (c.name + ": \"" + text + "\" is not one of its values: " + accepted_values (c));
}
} // namespace

std::string accepted_values (const control& c)
{
    std::string words;
    for (const auto& x : c.choices)
        words += (words.empty() ? "" : ", ") + x.text;
    return words + "; or as a byte: " + byte_list (c);
}

std::uint8_t parse_value (const control& c, const std::string& text)
{
    if (text.size() > 1 && text[0] == '#')
    {
        const auto byte = as_byte (text.substr (1));
        if (! byte || ! has_byte (c, *byte))
            refuse (c, text);
        return *byte;
    }

    std::vector<std::uint8_t> named;
    for (const auto& x : c.choices)
        if (folded (x.text) == folded (text) && std::find (named.begin(), named.end(), x.byte) == named.end())
            named.push_back (x.byte);
    if (named.size() == 1)
        return named.front();
    if (named.size() > 1)
    {
        std::string bytes;
        for (const auto b : named)
            bytes += (bytes.empty() ? "#" : " or #") + std::to_string (b);
        throw bad_input (c.name + ": \"" + text + "\" names more than one step of its menu; give the byte: " + bytes);
    }

    const auto byte = as_byte (text);
    if (! byte || ! has_byte (c, *byte))
        refuse (c, text);
    return *byte;
}
} // namespace ctl
