#pragma once

#include <cstddef>
#include <string_view>

// One file compiled into the program. Tables of them end with a row whose name is null.
struct embedded_file
{
    const char* name;
    const unsigned char* data;
    std::size_t size;
};

namespace skin::images { extern const embedded_file files[]; }
namespace skin::texts { extern const embedded_file files[]; }

// The row named exactly `name`, or nullptr.
const embedded_file* find_embedded (const embedded_file* table, std::string_view name);
