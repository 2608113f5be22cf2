#pragma once

#include "ctl/assignments.h"
#include "ctl/controls.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ctl
{
// What list and show say of an interface.
struct interface_info
{
    std::size_t number; // from 1, in list order
    std::string path;
    std::uint32_t firmware;
    std::uint32_t driver;
};

// "1.2.3" from a packed version word (major in the top byte, the lowest byte unshown).
std::string version_text (std::uint32_t word);

// A byte's value in words; "#N" where the control has no word for it.
std::string value_text (const control& c, std::uint8_t byte);

std::string list_text (const std::vector<interface_info>& interfaces);
std::string list_json (const std::vector<interface_info>& interfaces);

// `block` is null for an interface whose firmware has no parameter block.
std::string show_text (const interface_info& i, const std::vector<control>& controls, const std::uint8_t* block);
std::string show_json (const interface_info& i, const std::vector<control>& controls, const std::uint8_t* block);

// One "name: old -> new" line per change, `before` being the block as read.
std::string change_lines (const std::vector<assignment>& changes, const std::uint8_t* before);
} // namespace ctl
