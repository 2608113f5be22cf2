#include "ctl/report.h"
#include "ctl/json.h"
#include "device/qv/protocol.h"

namespace ctl
{
namespace
{
std::string padded (std::string text, std::size_t width)
{
    // Counted in characters, not bytes: the words may hold UTF-8.
    std::size_t characters = 0;
    for (const char ch : text)
        characters += (static_cast<unsigned char> (ch) & 0xC0) != 0x80;
    return text + std::string (characters < width ? width - characters : 0, ' ');
}

std::string no_block_reason()
{
    return "no controls: firmware older than " + version_text (qv::protocol::first_firmware_with_block)
         + " has no parameter block; update the firmware to use them";
}

std::string info_text (const interface_info& i)
{
    return std::to_string (i.number) + "  firmware " + version_text (i.firmware) + "  driver " + version_text (i.driver) + "  " + i.path;
}

std::string info_json (const interface_info& i)
{
    return "{\"index\": " + std::to_string (i.number) + ", \"path\": " + json_string (i.path) + ", \"firmware\": "
         + json_string (version_text (i.firmware)) + ", \"driver\": " + json_string (version_text (i.driver)) + "}";
}
} // namespace

std::string version_text (std::uint32_t word)
{
    return std::to_string ((word >> 24) & 0xFF) + "." + std::to_string ((word >> 16) & 0xFF) + "." + std::to_string ((word >> 8) & 0xFF);
}

std::string value_text (const control& c, std::uint8_t byte)
{
    const auto word = c.word (byte);
    return word.empty() ? "#" + std::to_string (byte) : word;
}

std::string list_text (const std::vector<interface_info>& interfaces)
{
    if (interfaces.empty())
        return "no interface is connected\n";
    std::string out;
    for (const auto& i : interfaces)
        out += info_text (i) + "\n";
    return out;
}

std::string list_json (const std::vector<interface_info>& interfaces)
{
    std::string out = "[";
    for (std::size_t k = 0; k < interfaces.size(); ++k)
        out += (k == 0 ? "\n  " : ",\n  ") + info_json (interfaces[k]);
    return out + (interfaces.empty() ? "]\n" : "\n]\n");
}

std::string show_text (const interface_info& i, const std::vector<control>& controls, const std::uint8_t* block)
{
    std::string out = "interface " + info_text (i) + "\n";
    if (block == nullptr)
        return out + no_block_reason() + "\n";
    out += padded ("name", 16) + padded ("value", 11) + "byte  raw  tooltip\n";
    for (const auto& c : controls)
    {
        const auto raw = std::to_string (block[c.byte]);
        const auto index = std::to_string (c.byte);
        out += padded (c.name, 16) + padded (value_text (c, block[c.byte]), 11) + std::string (4 - index.size(), ' ') + index
             + std::string (5 - raw.size(), ' ') + raw + "  " + c.tooltip + "\n";
    }
    return out;
}

std::string show_json (const interface_info& i, const std::vector<control>& controls, const std::uint8_t* block)
{
    std::string out = "{\n  \"interface\": " + info_json (i) + ",\n  \"controls\": [";
    if (block == nullptr)
        return out + "],\n  \"reason\": " + json_string (no_block_reason()) + "\n}\n";
    for (std::size_t k = 0; k < controls.size(); ++k)
    {
        const auto& c = controls[k];
        const auto word = c.word (block[c.byte]);
        out += (k == 0 ? "\n    " : ",\n    ");
        out += "{\"name\": " + json_string (c.name) + ", \"value\": " + (word.empty() ? "null" : json_string (word))
             + ", \"byte\": " + std::to_string (c.byte) + ", \"raw\": " + std::to_string (block[c.byte])
             + ", \"tooltip\": " + json_string (c.tooltip) + "}";
    }
    return out + (controls.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

std::string change_lines (const std::vector<assignment>& changes, const std::uint8_t* before)
{
    std::string out;
    for (const auto& a : changes)
        out += a.target->name + ": " + value_text (*a.target, before[a.target->byte]) + " -> " + value_text (*a.target, a.byte) + "\n";
    return out;
}
} // namespace ctl
