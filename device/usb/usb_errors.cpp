#include "usb_errors.h"

#include <libusb.h>

namespace qv::usb
{
int errno_of (int libusb_error)
{
    switch (libusb_error)
    {
        case LIBUSB_ERROR_ACCESS: return EACCES;
        case LIBUSB_ERROR_NO_DEVICE: return ENODEV;
        case LIBUSB_ERROR_TIMEOUT: return ETIMEDOUT;
        case LIBUSB_ERROR_PIPE: return EPIPE;
        case LIBUSB_ERROR_BUSY: return EBUSY;
        case LIBUSB_ERROR_NO_MEM: return ENOMEM;
        default: return EIO;
    }
}
} // namespace qv::usb
