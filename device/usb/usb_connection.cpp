#include "usb_connection.h"
#include "usb_errors.h"
#include "usb_ids.h"

#include "device/qv/protocol.h"
#include "device/qv/result.h"

#include <libusb.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace qv::usb
{
namespace
{
// Each node has a libusb context of its own, which goes with it: libusb is only the
// transfer engine here, the port finds the interfaces itself.
struct opened_node
{
    std::string node;
    libusb_context* context = nullptr;
    libusb_device_handle* handle = nullptr;
};

std::map<int, opened_node> opened;

[[noreturn]] void fail (std::uint32_t code) { throw os_result (code); }

void release (const opened_node& n)
{
    libusb_close (n.handle); // takes null; leaves the descriptor open
    if (n.context != nullptr) // null would be libusb's default context
        libusb_exit (n.context);
}

// libusb on the locked descriptor, for a device that is an interface.
void wrap (int fd, opened_node& n)
{
    // Without discovery libusb starts no thread of its own.
    libusb_set_option (nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    int result = libusb_init (&n.context);
    if (result == LIBUSB_SUCCESS)
        result = libusb_wrap_sys_device (n.context, fd, &n.handle);
    if (result != LIBUSB_SUCCESS)
        fail (std::uint32_t (errno_of (result)));
    // The node may have been given to another device since it was listed.
    libusb_device_descriptor descriptor {};
    if (libusb_get_device_descriptor (libusb_get_device (n.handle), &descriptor) != LIBUSB_SUCCESS
        || ! is_interface (interface_ids(), { descriptor.idVendor, descriptor.idProduct }))
        fail (ENODEV);
}

opened_node& entry (int handle)
{
    const auto found = opened.find (handle);
    if (found == opened.end())
        fail (EBADF);
    return found->second;
}
} // namespace

bool is_device_node (const std::string& path)
{
    static const std::string folder = "/dev/bus/usb/";
    return path.compare (0, folder.size(), folder) == 0;
}

int open (const std::string& node)
{
    const int fd = ::open (node.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        fail (errno == EACCES ? access_denied : std::uint32_t (errno));
    opened_node n { node };
    try
    {
        // The lock is what makes the interface this process's alone, as an exclusive
        // open does on Windows; every program of this family takes it.
        if (::flock (fd, LOCK_EX | LOCK_NB) != 0)
            fail (errno == EWOULDBLOCK ? EBUSY : std::uint32_t (errno));
        wrap (fd, n);
        opened[fd] = n;
    }
    catch (...)
    {
        release (n);
        ::close (fd);
        throw;
    }
    return fd;
}

bool is_open (int handle) { return opened.count (handle) != 0; }

const std::string& node_of (int handle) { return entry (handle).node; }

void close (int handle)
{
    const auto found = opened.find (handle);
    if (found == opened.end())
        return;
    release (found->second);
    opened.erase (found);
    ::close (handle);
}

void control (int handle, std::uint32_t code, const void* in, std::uint32_t in_size, void* out,
              std::uint32_t out_size)
{
    auto& node = entry (handle);
    if (code == protocol::driver_version)
    {
        if (out_size < protocol::driver_version_size)
            fail (EINVAL);
        // The word's bytes 3, 2 and 1 are shown: major, minor, micro.
        const auto* version = libusb_get_version();
        const std::uint8_t word[protocol::driver_version_size] = { 0, std::uint8_t (version->micro),
                                                                   std::uint8_t (version->minor),
                                                                   std::uint8_t (version->major) };
        std::memcpy (out, word, sizeof word);
        return;
    }
    if (code != protocol::vendor_request)
        fail (ENOTTY);

    const auto* request = static_cast<const std::uint8_t*> (in);
    if (in_size < protocol::setup_size || out_size != in_size)
        fail (EINVAL);
    const std::uint16_t value = std::uint16_t (request[2] | (request[3] << 8));
    const std::uint16_t index = std::uint16_t (request[4] | (request[5] << 8));
    const std::uint16_t length = std::uint16_t (request[6] | (request[7] << 8));
    if (in_size != protocol::setup_size + length)
        fail (EINVAL);

    std::vector<std::uint8_t> data (request + protocol::setup_size, request + in_size);
    const int result = libusb_control_transfer (node.handle, request[0], request[1], value, index, data.data(), length,
                                                transfer_timeout_ms);
    if (result != length)
        fail (result < 0 ? std::uint32_t (errno_of (result)) : EPROTO);
    auto* reply = static_cast<std::uint8_t*> (out);
    std::memmove (reply, request, protocol::setup_size);
    std::memcpy (reply + protocol::setup_size, data.data(), length);
}
} // namespace qv::usb
