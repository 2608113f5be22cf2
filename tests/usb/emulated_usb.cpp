#include "tests/usb/emulated_usb.h"

#include <umockdev.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <linux/usbdevice_fs.h>
#include <stdexcept>
#include <sys/ioctl.h>

namespace
{
constexpr int setup_size = 8;

void unref (UMockdevIoctlData* data)
{
    if (data != nullptr)
        g_object_unref (data);
}

usbdevfs_urb& urb_of (UMockdevIoctlData* data) { return *reinterpret_cast<usbdevfs_urb*> (data->data); }
} // namespace

emulated_device::emulated_device (std::uint16_t vendor_id, std::uint16_t product_id, int n, const vv_model& model)
    : vendor (vendor_id), product (product_id), number (n)
{
    char name[32];
    std::snprintf (name, sizeof name, "/dev/bus/usb/001/%03d", number);
    device_node = name;
    sys_path = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-" + std::to_string (number);
    descriptors = {
        // device: USB 2.0, class per interface, 64-byte endpoint 0, one configuration
        18, 1, 0x00, 0x02, 0, 0, 0, 64, std::uint8_t (vendor), std::uint8_t (vendor >> 8), std::uint8_t (product),
        std::uint8_t (product >> 8), 0x00, 0x01, 0, 0, 0, 1,
        // configuration 1 with one vendor-specific interface and no endpoints
        9, 2, 18, 0, 1, 1, 0, 0x80, 50, 9, 4, 0, 0, 0, 0xFF, 0, 0, 0,
    };
    now.model = model;
    handler = umockdev_ioctl_base_new();
    g_signal_connect (handler, "handle-ioctl", G_CALLBACK (&emulated_device::on_ioctl), this);
    g_signal_connect (handler, "handle-read", G_CALLBACK (&emulated_device::on_read), this);
}

emulated_device::~emulated_device()
{
    for (auto& u : urbs)
    {
        unref (u.urb_data);
        unref (u.buffer_data);
    }
    g_object_unref (handler);
}

std::string emulated_device::description() const
{
    std::string hex;
    for (auto b : descriptors)
        hex += "0123456789abcdef"[b >> 4], hex += "0123456789abcdef"[b & 15];
    char text[1024];
    std::snprintf (text, sizeof text,
                   "P: %s\nN: %s\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DRIVER=usb\nE: DEVNAME=%s\n"
                   "E: BUSNUM=001\nE: DEVNUM=%03d\nE: PRODUCT=%x/%x/100\nA: idVendor=%04x\\n\nA: idProduct=%04x\\n\n"
                   "A: busnum=1\\n\nA: devnum=%d\\n\nA: speed=480\\n\nA: bConfigurationValue=1\\n\nA: dev=189:%d\\n\n"
                   "H: descriptors=%s\n",
                   sys_path.c_str() + 4, device_node.c_str() + 5, device_node.c_str(), number, vendor, product, vendor,
                   product, number, number - 1, hex.c_str());
    return text;
}

std::vector<int> emulated_device::block()
{
    return state ([] (record& r) { return std::vector<int> (r.model.block, r.model.block + VV_BLOCK_SIZE); });
}

void emulated_device::set_block (const std::vector<int>& bytes)
{
    state ([&] (record& r) { std::copy (bytes.begin(), bytes.end(), r.model.block); });
}

int emulated_device::on_read (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self)
{
    // libusb reads the descriptors from the node it was given.
    auto* arg = umockdev_ioctl_client_get_arg (client);
    const auto n = std::min<std::size_t> (self->descriptors.size(), std::size_t (arg->data_len));
    std::memcpy (arg->data, self->descriptors.data(), n);
    umockdev_ioctl_client_complete (client, static_cast<glong> (n), 0);
    return TRUE;
}

int emulated_device::on_ioctl (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self)
{
    const unsigned long request = umockdev_ioctl_client_get_request (client);
    const std::size_t size = (request >> _IOC_SIZESHIFT) & _IOC_SIZEMASK;
    // A request without a size (DISCARDURB) carries its argument itself, not a pointer.
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg (client);
    UMockdevIoctlData* data = size > 0 ? umockdev_ioctl_data_resolve (arg, 0, size, nullptr)
                                       : UMOCKDEV_IOCTL_DATA (g_object_ref (arg));
    std::lock_guard<std::mutex> hold (self->lock);
    self->now.ioctls.push_back (request);
    // What libusb cannot do without; the rest it does without, as with a kernel that lacks it.
    if (data == nullptr)
        umockdev_ioctl_client_complete (client, -1, EFAULT);
    else if (self->now.gone && request != USBDEVFS_REAPURBNDELAY && request != USBDEVFS_DISCARDURB)
        umockdev_ioctl_client_complete (client, -1, ENODEV);
    else if (request == USBDEVFS_CONNECTINFO)
    {
        reinterpret_cast<usbdevfs_connectinfo*> (data->data)->devnum = unsigned (self->number);
        umockdev_ioctl_client_complete (client, 0, 0);
    }
    else if (request == USBDEVFS_SUBMITURB)
        self->submit (client, data);
    else if (request == USBDEVFS_REAPURBNDELAY)
        self->reap (client, data);
    else if (request == USBDEVFS_DISCARDURB)
        self->discard (client, data);
    else
        umockdev_ioctl_client_complete (client, -1, ENOTTY);
    unref (data);
    return TRUE;
}

void emulated_device::submit (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    const auto& request = urb_of (data);
    urb u { UMOCKDEV_IOCTL_DATA (g_object_ref (data)) };
    if (request.type == USBDEVFS_URB_TYPE_CONTROL && request.endpoint == 0 && request.buffer_length >= setup_size)
        u.buffer_data = umockdev_ioctl_data_resolve (data, offsetof (usbdevfs_urb, buffer),
                                                     std::size_t (request.buffer_length), nullptr);
    if (u.buffer_data == nullptr)
    {
        unref (u.urb_data);
        umockdev_ioctl_client_complete (client, -1, EINVAL);
        return;
    }
    answer (u);
    urbs.push_back (u);
    umockdev_ioctl_client_complete (client, 0, 0);
}

void emulated_device::answer (urb& u)
{
    auto& request = urb_of (u.urb_data);
    std::uint8_t* buffer = u.buffer_data->data;
    const auto length = std::uint32_t (request.buffer_length);
    now.setup_packets.emplace_back (buffer, buffer + setup_size);
    const fault f = now.next_fault;
    now.next_fault = fault::none;
    request.actual_length = 0; // of the data stage, as usbfs counts
    request.status = -EPIPE;
    u.ready = f != fault::no_answer;
    std::uint32_t written = 0, changed = 0;
    if (f == fault::vanish)
        now.gone = true, request.status = -ENODEV;
    else if (f == fault::no_answer || f == fault::stall)
        ;
    else if (const auto status = vv_model_request (&now.model, VV_IOCTL_VENDOR_REQUEST, buffer, length, length, &written, &changed);
             status == VV_VANISHED)
        now.gone = true, request.status = -ENODEV;
    else if (status == VV_OK)
    {
        request.status = 0;
        request.actual_length = f == fault::no_data ? 0 : int (length) - setup_size - (f == fault::short_reply);
        if (changed != 0 && now.on_change)
            now.on_change (std::vector<int> (now.model.block, now.model.block + VV_BLOCK_SIZE));
    }
}

void emulated_device::reap (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    const auto ready = std::find_if (urbs.begin(), urbs.end(), [] (const urb& u) { return u.ready; });
    if (ready == urbs.end())
    {
        umockdev_ioctl_client_complete (client, -1, now.gone ? ENODEV : EAGAIN);
        return;
    }
    umockdev_ioctl_data_set_ptr (data, 0, ready->urb_data);
    umockdev_ioctl_client_complete (client, 0, 0);
    unref (ready->urb_data);
    unref (ready->buffer_data);
    urbs.erase (ready);
}

void emulated_device::discard (UMockdevIoctlClient* client, UMockdevIoctlData* data)
{
    for (auto& u : urbs)
        if (u.urb_data->client_addr == *reinterpret_cast<gulong*> (data->data) && ! u.ready)
        {
            urb_of (u.urb_data).status = -ENOENT;
            u.ready = true;
            umockdev_ioctl_client_complete (client, 0, 0);
            return;
        }
    umockdev_ioctl_client_complete (client, -1, EINVAL);
}

emulated_usb::emulated_usb() : testbed (umockdev_testbed_new())
{
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
    if (! umockdev_testbed_attach_ioctl (testbed, device.node().c_str(), device.handler, &error)
        || ! umockdev_testbed_add_from_string (testbed, device.description().c_str(), &error))
    {
        const std::string why = error->message;
        g_clear_error (&error);
        throw std::runtime_error ("umockdev: " + why);
    }
    if (announce)
        umockdev_testbed_uevent (testbed, device.syspath().c_str(), "add");
    return device;
}

void emulated_usb::unplug (emulated_device& device)
{
    device.state ([&] (emulated_device::record& r) {
        // What was under way ends as the kernel ends it for a device that left.
        r.gone = true;
        for (auto& u : device.urbs)
            if (! u.ready)
                urb_of (u.urb_data).status = -ENODEV, u.ready = true;
    });
    umockdev_testbed_uevent (testbed, device.syspath().c_str(), "remove");
    umockdev_testbed_remove_device (testbed, device.syspath().c_str());
}

std::string emulated_usb::file_of (const std::string& node) const
{
    gchar* root = umockdev_testbed_get_root_dir (testbed);
    const std::string path = root + node;
    g_free (root);
    return path;
}
