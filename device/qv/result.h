#pragma once

#include <cstdint>
#include <string>

namespace qv
{
// The code of a failed operating-system call, exactly as the system reported it:
// a Win32 error code on Windows, an errno value on Linux. Thrown bare.
enum os_result : std::uint32_t
{
};

// Marks the objects whose operations throw R; it adds no operation of its own.
template <class R>
class exception
{
};

// The system's text for a code. Each port defines it.
std::string message (os_result code);

// The system's code for data that is not valid (a skin without a needed element): 13 on
// Windows, EINVAL elsewhere. Each port defines it, so the text shown is the same failure.
os_result invalid_data();
} // namespace qv
