#include "usb_ids.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace qv::usb
{
namespace
{
const id built_in[] = {
#include "usb_builtin_ids.inc"
};

std::string trimmed (const std::string& text)
{
    const auto first = text.find_first_not_of (" \t");
    if (first == std::string::npos)
        return {};
    return text.substr (first, text.find_last_not_of (" \t") - first + 1);
}
} // namespace

bool parse_id (const std::string& text, std::uint16_t& value)
{
    if (text.size() != 4 || ! std::all_of (text.begin(), text.end(), [] (unsigned char c) { return std::isxdigit (c); }))
        return false;
    value = static_cast<std::uint16_t> (std::stoul (text, nullptr, 16));
    return true;
}

std::vector<std::string> parse_ids (const std::string& text, std::vector<id>& into)
{
    std::vector<std::string> malformed;
    std::size_t start = 0;
    for (;;)
    {
        const auto comma = text.find (',', start);
        const auto entry = trimmed (text.substr (start, comma == std::string::npos ? std::string::npos : comma - start));
        const auto colon = entry.find (':');
        id pair;
        if (! entry.empty())
        {
            if (colon != std::string::npos && parse_id (entry.substr (0, colon), pair.vendor)
                && parse_id (entry.substr (colon + 1), pair.product))
                into.push_back (pair);
            else
                malformed.push_back (entry);
        }
        if (comma == std::string::npos)
            return malformed;
        start = comma + 1;
    }
}

std::vector<id> interface_ids()
{
    std::vector<id> ids (std::begin (built_in), std::end (built_in));
    const char* extra = std::getenv ("KELTO_VELTRANO_USB_IDS");
    if (extra == nullptr)
        return ids;
    static std::string warned_about;
    const auto malformed = parse_ids (extra, ids);
    if (! malformed.empty() && warned_about != extra)
    {
        warned_about = extra;
        for (const auto& entry : malformed)
            std::fprintf (stderr, "Kelto Veltrano: KELTO_VELTRANO_USB_IDS: \"%s\" is not a USB vendor:product pair "
                                  "such as 1209:0001 (four hexadecimal digits each); it is ignored.\n",
                          entry.c_str());
    }
    return ids;
}

bool is_interface (const std::vector<id>& ids, id device)
{
    return std::find (ids.begin(), ids.end(), device) != ids.end();
}
} // namespace qv::usb
