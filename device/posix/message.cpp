#include "device/qv/result.h"
#include "device/usb/usb_errors.h"

#include <cerrno>
#include <cstring>

namespace qv
{
std::string message (os_result code)
{
    // The low half is the system's code; the high half only marks where it arose.
    std::string text = std::strerror (static_cast<int> (code & 0xFFFF));
    if (code == usb::access_denied)
        text += "\n\nThis user may not open the interface on USB. Install the kelto-veltrano package, whose udev "
                "rule gives the logged-in user access, then unplug the interface and plug it in again.";
    return text;
}

os_result invalid_data() { return os_result (EINVAL); }
} // namespace qv
