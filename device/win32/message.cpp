#include "native_port.h"

#include <cstring>

namespace qv
{
// The system's text, trailing line break included. Only the low 16 bits name the
// message; a code with no text gives an empty string.
std::string message (os_result code)
{
    char buffer[256] {};
    const DWORD length = FormatMessageA (FORMAT_MESSAGE_FROM_SYSTEM, nullptr, static_cast<std::uint32_t> (code) & 0xFFFF,
                                         0, buffer, sizeof buffer, nullptr);
    if (length == 0)
        return {};
    return std::string (buffer, strnlen (buffer, sizeof buffer));
}

os_result invalid_data() { return os_result (ERROR_INVALID_DATA); }
} // namespace qv
