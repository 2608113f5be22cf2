#include "device/qv/result.h"

#include <cerrno>
#include <cstring>

namespace qv
{
std::string message (os_result code)
{
    return std::strerror (static_cast<int> (code));
}

os_result invalid_data() { return os_result (EINVAL); }
} // namespace qv
