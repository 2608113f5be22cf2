#include "device/qv/result.h"

#include <cstring>

namespace qv
{
std::string message (os_result code)
{
    return std::strerror (static_cast<int> (code));
}
} // namespace qv
