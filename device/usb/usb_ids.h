#pragma once

// Which USB devices are Kelto Veltrano interfaces: the pairs built in, and those that
// KELTO_VELTRANO_USB_IDS adds ("vvvv:pppp[,vvvv:pppp...]", hexadecimal).

#include <cstdint>
#include <string>
#include <vector>

namespace qv::usb
{
struct id
{
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;
    bool operator== (const id& other) const { return vendor == other.vendor && product == other.product; }
};

// Four hexadecimal digits, as USB IDs are written (in sysfs, lsusb and the variable).
bool parse_id (const std::string& text, std::uint16_t& value);

// The pairs in `text` are appended to `into`; the entries that are not a pair are
// returned as written. Blanks around an entry and empty entries are allowed.
std::vector<std::string> parse_ids (const std::string& text, std::vector<id>& into);

// The built-in pairs, then those of the environment. A malformed entry is skipped
// with a warning on the standard error, once per value of the variable.
std::vector<id> interface_ids();

bool is_interface (const std::vector<id>& ids, id device);
} // namespace qv::usb
