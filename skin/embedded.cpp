#include "skin/embedded.h"

const embedded_file* find_embedded (const embedded_file* table, std::string_view name)
{
    for (auto* row = table; row->name != nullptr; ++row)
        if (name == row->name)
            return row;
    return nullptr;
}
