#include "tests/usb/emulated_usb.h"

#include <umockdev.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <stdexcept>

namespace
{
constexpr std::size_t setup_size = 8;

std::vector<std::uint8_t> descriptors_of (std::uint16_t vendor, std::uint16_t product)
{
    return {
        // device: USB 2.0, class per interface, 64-byte endpoint 0, one configuration
        18, 1, 0x00, 0x02, 0, 0, 0, 64, std::uint8_t (vendor), std::uint8_t (vendor >> 8),
        std::uint8_t (product), std::uint8_t (product >> 8), 0x00, 0x01, 0, 0, 0, 1,
        // configuration 1, one interface, bus powered
        9, 2, 18, 0, 1, 1, 0, 0x80, 50,
        // interface 0, vendor specific, no endpoints
        9, 4, 0, 0, 0, 0xFF, 0, 0, 0,
    };
}

std::string hex (const std::vector<std::uint8_t>& bytes)
{
    std::string text;
    char pair[3];
    for (auto b : bytes)
    {
        std::snprintf (pair, sizeof pair, "%02x", b);
        text += pair;
    }
    return text;
}

void unref (UMockdevIoctlData* data)
{
    if (data != nullptr)
        g_object_unref (data);
}
} // namespace

emulated_device::emulated_device (std::uint16_t vendor_id, std::uint16_t product_id, int n, const vv_model& state)
    : vendor (vendor_id), product (product_id), number (n), descriptors (descriptors_of (vendor_id, product_id)),
      model (state)
{
    char name[32];
    std::snprintf (name, sizeof name, "/dev/bus/usb/001/%03d", number);
    device_node = name;
    sys_path = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-" + std::to_string (number);
    ioctl_handler = umockdev_ioctl_base_new();
    g_signal_connect (ioctl_handler, "handle-ioctl", G_CALLBACK (&emulated_device::on_ioctl), this);
    g_signal_connect (ioctl_handler, "handle-read", G_CALLBACK (&emulated_device::on_read), this);
}

emulated_device::~emulated_device()
{
    std::lock_guard<std::mutex> hold (lock);
    for (auto& u : urbs)
    {
        unref (u.urb_data);
        unref (u.buffer_data);
    }
    g_object_unref (ioctl_handler);
}

std::string emulated_device::description() const
{
    char numbers[64];
    std::snprintf (numbers, sizeof numbers, "%04x/%x/100", vendor, product);
    std::string text = "P: " + sys_path.substr (4) + "\nN: " + device_node.substr (5) + "\n";
    text += "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DRIVER=usb\nE: DEVNAME=" + device_node + "\n";
    text += "E: BUSNUM=001\nE: DEVNUM=" + device_node.substr (device_node.size() - 3) + "\nE: PRODUCT=" + numbers + "\n";
    std::snprintf (numbers, sizeof numbers, "A: idVendor=%04x\\n\nA: idProduct=%04x\\n\n", vendor, product);
    text += numbers;
    text += "A: busnum=1\\n\nA: devnum=" + std::to_string (number) + "\\n\nA: speed=480\\n\n";
    text += "A: bConfigurationValue=1\\n\nA: dev=189:" + std::to_string (number - 1) + "\\n\n";
    text += "H: descriptors=" + hex (descriptors) + "\n";
    return text;
}

std::vector<int> emulated_device::block() const
{
    std::lock_guard<std::mutex> hold (lock);
    return std::vector<int> (model.block, model.block + VV_BLOCK_SIZE);
}

void emulated_device::set_block (const std::vector<int>& bytes)
{
    std::lock_guard<std::mutex> hold (lock);
    for (std::size_t i = 0; i < VV_BLOCK_SIZE && i < bytes.size(); ++i)
        model.block[i] = static_cast<std::uint8_t> (bytes[i]);
}

void emulated_device::fail_next (fault f)
{
    std::lock_guard<std::mutex> hold (lock);
    next_fault = f;
}

std::vector<unsigned long> emulated_device::ioctls() const
{
    std::lock_guard<std::mutex> hold (lock);
    return seen;
}

int emulated_device::reads() const
{
    std::lock_guard<std::mutex> hold (lock);
    return descriptor_reads;
}

std::vector<std::vector<std::uint8_t>> emulated_device::setup_packets() const
{
    std::lock_guard<std::mutex> hold (lock);
    return packets;
}

void emulated_device::on_change (std::function<void (const std::vector<int>&)> watcher)
{
    std::lock_guard<std::mutex> hold (lock);
    changed_watcher = std::move (watcher);
}

int emulated_device::on_ioctl (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self)
{
    self->ioctl (client);
    return TRUE;
}

int emulated_device::on_read (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self)
{
    std::lock_guard<std::mutex> hold (self->lock);
    ++self->descriptor_reads;
    if (self->gone)
    {
        umockdev_ioctl_client_complete (client, -1, ENODEV);
        return TRUE;
    }
    auto* arg = umockdev_ioctl_client_get_arg (client);
    const auto n = std::min<std::size_t> (self->descriptors.size(), std::size_t (arg->data_len));
    std::memcpy (arg->data, self->descriptors.data(), n);
    umockdev_ioctl_client_complete (client, static_cast<glong> (n), 0);
    return TRUE;
}

void emulated_device::ioctl (UMockdevIoctlClient* client)
{
    const unsigned long request = umockdev_ioctl_client_get_request (client);
    const std::size_t size = (request >> _IOC_SIZESHIFT) & _IOC_SIZEMASK;
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg (client);

    std::lock_guard<std::mutex> hold (lock);
    seen.push_back (request);
    if (gone && request != USBDEVFS_REAPURBNDELAY && request != USBDEVFS_DISCARDURB)
    {
        umockdev_ioctl_client_complete (client, -1, ENODEV);
        return;
    }
    UMockdevIoctlData* data = size > 0 ? umockdev_ioctl_data_resolve (arg, 0, size, nullptr) : arg;
    if (data == nullptr)
    {
        umockdev_ioctl_client_complete (client, -1, EFAULT);
        return;
    }
    switch (request)
    {
        case USBDEVFS_GET_CAPABILITIES:
            *reinterpret_cast<std::uint32_t*> (data->data) = USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_NO_PACKET_SIZE_LIM
                                                           | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
            umockdev_ioctl_client_complete (client, 0, 0);
            break;
        case USBDEVFS_GET_SPEED:
            umockdev_ioctl_client_complete (client, 3 /* high speed */, 0);
            break;
        case USBDEVFS_CONNECTINFO:
            reinterpret_cast<usbdevfs_connectinfo*> (data->data)->devnum = static_cast<unsigned> (number);
            reinterpret_cast<usbdevfs_connectinfo*> (data->data)->slow = 0;
            umockdev_ioctl_client_complete (client, 0, 0);
            break;
        case USBDEVFS_CONTROL:
        {
            // Only the standard request libusb asks on its own: which configuration is active.
            auto* transfer = reinterpret_cast<usbdevfs_ctrltransfer*> (data->data);
            if (transfer->bRequestType == 0x80 && transfer->bRequest == 8 && transfer->wLength == 1)
            {
                auto* answer = umockdev_ioctl_data_resolve (data, offsetof (usbdevfs_ctrltransfer, data), 1, nullptr);
                answer->data[0] = 1;
                umockdev_ioctl_client_complete (client, 1, 0);
                unref (answer);
            }
            else
                umockdev_ioctl_client_complete (client, -1, EPIPE);
            break;
        }
        case USBDEVFS_SUBMITURB:
            submit (client, data);
            break;
        case USBDEVFS_REAPURB:
        case USBDEVFS_REAPURBNDELAY:
            reap (client, data);
            break;
        case USBDEVFS_DISCARDURB:
            discard (client, data);
            break;
        default:
            umockdev_ioctl_client_complete (client, -1, ENOTTY);
    }
    if (data != arg)
        unref (data);
}

void emulated_device::submit (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    auto* request = reinterpret_cast<usbdevfs_urb*> (data->data);
    if (request->type != USBDEVFS_URB_TYPE_CONTROL || request->endpoint != 0
        || request->buffer_length < int (setup_size))
    {
        umockdev_ioctl_client_complete (client, -1, EINVAL);
        return;
    }
    urb u;
    u.urb_data = UMOCKDEV_IOCTL_DATA (g_object_ref (data));
    u.buffer_data = umockdev_ioctl_data_resolve (data, offsetof (usbdevfs_urb, buffer),
                                                 std::size_t (request->buffer_length), nullptr);
    if (u.buffer_data == nullptr)
    {
        unref (u.urb_data);
        umockdev_ioctl_client_complete (client, -1, EFAULT);
        return;
    }
    answer (u);
    urbs.push_back (u);
    umockdev_ioctl_client_complete (client, 0, 0);
}

void emulated_device::answer (urb& u)
{
    auto* request = reinterpret_cast<usbdevfs_urb*> (u.urb_data->data);
    std::uint8_t* buffer = u.buffer_data->data;
    const auto length = static_cast<std::uint32_t> (request->buffer_length);
    packets.emplace_back (buffer, buffer + setup_size);

    const fault f = next_fault;
    next_fault = fault::none;
    request->actual_length = 0;
    u.ready = f != fault::no_answer;
    if (f == fault::stall)
        request->status = -EPIPE;
    else if (f == fault::vanish)
    {
        request->status = -ENODEV;
        gone = true;
    }
    else if (f == fault::no_answer)
        request->status = -EINPROGRESS;
    else
    {
        std::uint32_t written = 0, changed = 0;
        switch (vv_model_request (&model, VV_IOCTL_VENDOR_REQUEST, buffer, length, length, &written, &changed))
        {
            case VV_OK:
                request->status = 0;
                // usbfs counts the data stage only
                request->actual_length = f == fault::no_data ? 0 : int (length - setup_size) - (f == fault::short_reply ? 1 : 0);
                if (changed != 0 && changed_watcher)
                    changed_watcher (std::vector<int> (model.block, model.block + VV_BLOCK_SIZE));
                break;
            case VV_VANISHED:
                request->status = -ENODEV;
                gone = true;
                break;
            case VV_FAILED:
                request->status = -EPIPE;
                break;
        }
    }
}

void emulated_device::reap (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    for (auto it = urbs.begin(); it != urbs.end(); ++it)
        if (it->ready)
        {
            umockdev_ioctl_data_set_ptr (data, 0, it->urb_data);
            umockdev_ioctl_client_complete (client, 0, 0);
            unref (it->urb_data);
            unref (it->buffer_data);
            urbs.erase (it);
            return;
        }
    umockdev_ioctl_client_complete (client, -1, gone ? ENODEV : EAGAIN);
}

void emulated_device::discard (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    for (auto& u : urbs)
        if (u.urb_data->client_addr == *reinterpret_cast<gulong*> (data->data) && ! u.ready)
        {
            reinterpret_cast<usbdevfs_urb*> (u.urb_data->data)->status = -ENOENT;
            u.ready = true;
            umockdev_ioctl_client_complete (client, 0, 0);
            return;
        }
    umockdev_ioctl_client_complete (client, -1, EINVAL);
}

emulated_usb::emulated_usb()
{
    testbed = umockdev_testbed_new();
    if (! umockdev_in_mock_environment())
    {
        g_object_unref (testbed);
        throw std::runtime_error ("run under umockdev-wrapper: the umockdev preload is missing");
    }
}

emulated_usb::~emulated_usb()
{
    for (auto& d : devices)
        umockdev_testbed_detach_ioctl (testbed, d->node().c_str(), nullptr);
    g_object_unref (testbed); // removes its folder
    devices.clear();
}

emulated_device& emulated_usb::plug (const std::string& firmware, std::uint16_t vendor, std::uint16_t product,
                                     bool announce)
{
    vv_model model;
    vv_model_init (&model);
    if (vv_parse_version (firmware.c_str(), &model.firmware[0], &model.firmware[1], &model.firmware[2]) != 0)
        throw std::invalid_argument ("not a firmware version: " + firmware);
    devices.push_back (std::make_unique<emulated_device> (vendor, product, next_number++, model));
    auto& device = *devices.back();
    GError* error = nullptr;
    // The handler first: the node that adding makes is then served by it.
    if (! umockdev_testbed_attach_ioctl (testbed, device.node().c_str(), device.handler(), &error)
        || ! umockdev_testbed_add_from_string (testbed, device.description().c_str(), &error))
    {
        const std::string why = error != nullptr ? error->message : "unknown";
        g_clear_error (&error);
        throw std::runtime_error ("umockdev: " + why);
    }
    if (announce)
        umockdev_testbed_uevent (testbed, device.syspath().c_str(), "add");
    return device;
}

void emulated_usb::unplug (emulated_device& device)
{
    {
        // What was under way ends as the kernel ends it for a device that left.
        std::lock_guard<std::mutex> hold (device.lock);
        device.gone = true;
        for (auto& u : device.urbs)
            if (! u.ready)
            {
                reinterpret_cast<usbdevfs_urb*> (u.urb_data->data)->status = -ENODEV;
                u.ready = true;
            }
    }
    umockdev_testbed_uevent (testbed, device.syspath().c_str(), "remove");
    umockdev_testbed_remove_device (testbed, device.syspath().c_str());
}

std::string emulated_usb::root() const
{
    gchar* dir = umockdev_testbed_get_root_dir (testbed);
    std::string path = dir;
    g_free (dir);
    return path;
}
