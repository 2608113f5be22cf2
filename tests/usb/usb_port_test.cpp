// The Linux port's USB path: the real libusb and libudev against interfaces emulated
// by umockdev, whose replies come from the shared device model.
#include "device/device.h"
#include "device/usb/usb_connection.h"
#include "device/usb/usb_errors.h"
#include "tests/support/descriptors.h"
#include "tests/support/paths_of.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"
#include "tests/usb/emulated_usb.h"

#include <gtest/gtest.h>
#include <libusb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <linux/capability.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
class usb_driver : public qv::driver<os_result, device>
{
public:
    void on_arrival (device& d) override { arrivals.push_back (d); }
    void on_removal (device& d) override
    {
        if (failures-- > 0)
            throw std::runtime_error ("the page could not be taken down");
        removals.push_back (d);
    }

    std::vector<std::string> arrivals, removals;
    int failures = 0;
};

struct usb_port : ::testing::Test
{
    emulated_usb usb;
    temporary_bus bus; // the virtual interfaces' folder, empty unless a test plugs one
};

std::vector<int> bytes_of (const device& d) { return std::vector<int> (d.parameters, d.parameters + 16); }

// Root ignores file modes; without these in the calling thread it is held to them.
class without_file_capabilities
{
public:
    without_file_capabilities()
    {
        header.version = _LINUX_CAPABILITY_VERSION_3;
        syscall (SYS_capget, &header, saved);
        __user_cap_data_struct lowered[2] = { saved[0], saved[1] };
        lowered[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER));
        syscall (SYS_capset, &header, lowered);
    }
    ~without_file_capabilities() { syscall (SYS_capset, &header, saved); }

private:
    __user_cap_header_struct header {};
    __user_cap_data_struct saved[2] {};
};

const unsigned long requests_without_side_effects[] = {
    USBDEVFS_GET_CAPABILITIES, USBDEVFS_GET_SPEED, USBDEVFS_CONNECTINFO, USBDEVFS_CONTROL,
    USBDEVFS_SUBMITURB,        USBDEVFS_REAPURBNDELAY, USBDEVFS_DISCARDURB,
};
} // namespace

TEST (usb_ids, a_list_of_pairs_is_read_and_what_is_not_a_pair_is_returned_as_written)
{
    const struct
    {
        std::string text;
        std::vector<std::pair<int, int>> pairs;
        std::vector<std::string> malformed;
    } cases[] = {
        { "", {}, {} },
        { "1209:0001", { { 0x1209, 0x0001 } }, {} },
        { " abCD:Ef09 ,, 0000:ffff,A9F0:0fa9", { { 0xABCD, 0xEF09 }, { 0x0000, 0xFFFF }, { 0xA9F0, 0x0FA9 } }, {} },
        { "1209:1,12090:0001,1209-0001,12g9:0001,1209:0001:2,:,120@:0001,120`:0001,120/:0001,+123:0001,0x12:0001",
          {},
          { "1209:1", "12090:0001", "1209-0001", "12g9:0001", "1209:0001:2", ":", "120@:0001", "120`:0001", "120/:0001",
            "+123:0001", "0x12:0001" } },
        { "dead:beef,oops", { { 0xDEAD, 0xBEEF } }, { "oops" } },
    };
    for (const auto& c : cases)
    {
        std::vector<qv::usb::id> ids;
        EXPECT_EQ (qv::usb::parse_ids (c.text, ids), c.malformed) << c.text;
        std::vector<std::pair<int, int>> pairs;
        for (auto id : ids)
            pairs.emplace_back (id.vendor, id.product);
        EXPECT_EQ (pairs, c.pairs) << c.text;
    }
}

TEST (usb_ids, a_malformed_variable_is_warned_about_once_per_value_and_its_good_pairs_are_kept)
{
    const auto ids_and_warnings = [] (const char* value) {
        ::setenv ("KELTO_VELTRANO_USB_IDS", value, 1);
        ::testing::internal::CaptureStderr();
        const auto ids = qv::usb::interface_ids();
        qv::usb::interface_ids();
        const auto said = ::testing::internal::GetCapturedStderr();
        ::unsetenv ("KELTO_VELTRANO_USB_IDS");
        return std::make_pair (ids, said);
    };
    const auto first = ids_and_warnings ("1209:0002,bad-pair");
    EXPECT_EQ (first.first, (std::vector<qv::usb::id> { { 0x1209, 0x0001 }, { 0x1209, 0x0002 } }));
    EXPECT_NE (first.second.find ("KELTO_VELTRANO_USB_IDS: \"bad-pair\" is not a USB vendor:product pair"), std::string::npos)
        << first.second;
    EXPECT_EQ (first.second.find ("bad-pair", first.second.find ("bad-pair") + 1), std::string::npos) << "once";
    EXPECT_NE (ids_and_warnings ("worse").second.find ("\"worse\""), std::string::npos) << "a new value, a new warning";
}

TEST (usb_errors, libusb_failures_become_the_system_codes_of_their_meaning)
{
    const std::pair<int, int> cases[] = {
        { LIBUSB_ERROR_ACCESS, EACCES },   { LIBUSB_ERROR_NO_DEVICE, ENODEV }, { LIBUSB_ERROR_TIMEOUT, ETIMEDOUT },
        { LIBUSB_ERROR_PIPE, EPIPE },      { LIBUSB_ERROR_BUSY, EBUSY },       { LIBUSB_ERROR_NO_MEM, ENOMEM },
        { LIBUSB_ERROR_OVERFLOW, EIO },    { LIBUSB_ERROR_IO, EIO },           { LIBUSB_ERROR_OTHER, EIO },
    };
    for (const auto& c : cases)
        EXPECT_EQ (qv::usb::errno_of (c.first), c.second) << libusb_error_name (c.first);

    EXPECT_EQ (qv::message (os_result (EACCES)), "Permission denied");
    const auto advice = qv::message (os_result (qv::usb::access_denied));
    EXPECT_EQ (advice.rfind ("Permission denied", 0), 0u) << advice;
    EXPECT_NE (advice.find ("udev rule"), std::string::npos) << advice;
    EXPECT_NE (advice.find ("plug it in again"), std::string::npos) << advice;
}

TEST_F (usb_port, interfaces_are_listed_by_node_before_virtual_ones_and_other_devices_are_never_touched)
{
    auto& a = usb.plug ("1.1.1", test_vendor, test_product, false);
    auto& other = usb.plug ("1.1.1", 0x1d6b, 0x0002, false); // a hub of the same bus
    auto& b = usb.plug ("1.2.3", test_vendor, test_product, false);
    virtual_interface trying (bus, "try");
    ::unsetenv ("KELTO_VELTRANO_USB_IDS");
    {
        usb_driver driver;
        EXPECT_EQ (paths_of (driver), (std::vector<std::string> { a.node(), b.node(), trying.path() }));
        EXPECT_TRUE (driver.arrivals.empty());
        EXPECT_EQ (driver[1]->firmware, 0x01020300u);
    }
    EXPECT_TRUE (other.ioctls().empty());
    // Should its node be listed by mistake (numbers are given again), it is not spoken to.
    EXPECT_EQ (thrown_code ([&] { qv::port<os_result>::open (other.node()); }), ENODEV);
    EXPECT_TRUE (other.setup_packets().empty());

    // Pairs given at run time are interfaces too; a malformed entry costs only itself.
    ::setenv ("KELTO_VELTRANO_USB_IDS", "1d6b:2, nonsense ,1d6b:0002", 1);
    {
        usb_driver driver;
        EXPECT_EQ (paths_of (driver), (std::vector<std::string> { a.node(), other.node(), b.node(), trying.path() }));
    }
    ::unsetenv ("KELTO_VELTRANO_USB_IDS");
}

TEST_F (usb_port, versions_and_the_block_travel_byte_for_byte_as_the_setup_packets_say)
{
    auto& interface = usb.plug ("2.4.7");
    const std::vector<int> block { 7, 40, 34, 30, 1, 2, 3, 4, 255, 0, 0, 255, 1, 0xA5, 0x5A, 0xFF };
    interface.set_block (block);
    usb_driver driver;
    ASSERT_EQ (driver.size(), 1u);
    auto& d = *driver.front();

    const auto* libusb = libusb_get_version();
    EXPECT_EQ (d.version, (std::uint32_t (libusb->major) << 24) | (std::uint32_t (libusb->minor) << 16) | (std::uint32_t (libusb->micro) << 8));
    EXPECT_EQ (d.firmware, 0x02040700u);
    EXPECT_EQ (bytes_of (d), block);

    // A click: the block as the interface has it, one byte changed, all sent back.
    interface.set_block ({ 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16 });
    d.transfer (false);
    d.parameters[10] = 255;
    d.transfer (true);
    EXPECT_EQ (interface.block(), (std::vector<int> { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 255, 12, 13, 14, 15, 16 }));

    using packet = std::vector<std::uint8_t>;
    EXPECT_EQ (interface.setup_packets(), (std::vector<packet> {
                                              { 0xC0, 0x56, 0, 0, 0, 0, 3, 0 },
                                              { 0xC0, 0x4E, 0, 0, 0, 0, 16, 0 },
                                              { 0xC0, 0x4E, 0, 0, 0, 0, 16, 0 },
                                              { 0x40, 0x4E, 0, 0, 0, 0, 16, 0 },
                                          }));
}

TEST_F (usb_port, a_request_the_buffer_does_not_describe_is_refused_before_anything_is_sent)
{
    auto& interface = usb.plug();
    usb_driver driver;
    const int handle = driver.front()->handle;
    const auto sent = interface.setup_packets().size();
    const std::uint32_t vendor = 0x00220008, version = 0x002200A4;
    const struct
    {
        std::uint32_t code;
        std::uint8_t length; // in the setup packet
        std::uint32_t in_size, out_size;
        int expected;
    } cases[] = {
        { vendor, 16, 23, 23, EINVAL },     // the setup packet asks for more than the buffer holds
        { vendor, 16, 24, 11, EINVAL },     // the answer would not fit
        { vendor, 0, 7, 7, EINVAL },        // no whole setup packet
        { 0x0022000C, 16, 24, 24, ENOTTY }, // not a request of the driver
        { version, 0, 0, 3, EINVAL },       // no room for the version
        { vendor, 0, 8, 8, EPIPE },         // no data is a request too: sent, and the model stalls it
    };
    for (const auto& c : cases)
    {
        std::uint8_t buffer[24] = { 0xC0, 0x4E, 0, 0, 0, 0, c.length, 0 };
        EXPECT_EQ (thrown_code ([&] { qv::port<os_result>::control (handle, c.code, buffer, c.in_size, buffer, c.out_size); }),
                   c.expected)
            << std::hex << c.code << std::dec << " " << c.in_size << " " << c.out_size;
    }
    const auto packets = interface.setup_packets();
    ASSERT_EQ (packets.size(), sent + 1);
    EXPECT_EQ (packets.back(), (std::vector<std::uint8_t> { 0xC0, 0x4E, 0, 0, 0, 0, 0, 0 }));
}

TEST_F (usb_port, an_interface_opened_used_and_closed_leaves_no_descriptor_behind)
{
    {
        usb_driver once; // what the port keeps for the process (its event hub) is made now
    }
    usb.plug();
    // The emulation closes its side of a node some time after the other side closed.
    auto before = open_descriptors();
    while (pump_until ([&] { return open_descriptors() != before; }, 300))
        before = open_descriptors();
    {
        usb_driver driver;
        driver.front()->transfer (true);
        EXPECT_GT (open_descriptors().size(), before.size());
    }
    EXPECT_TRUE (pump_until ([&] { return open_descriptors() == before; }, 2000));
}

TEST_F (usb_port, an_interface_is_one_openers_alone)
{
    auto& interface = usb.plug();
    usb_driver first;
    ASSERT_EQ (first.size(), 1u);
    EXPECT_EQ (thrown_code ([] { usb_driver second; }), EBUSY);
    EXPECT_EQ (qv::message (os_result (EBUSY)), "Device or resource busy");

    // Once the first lets go, the next opener gets it.
    first.remove (first.front()->handle);
    usb_driver second;
    EXPECT_EQ (paths_of (second), std::vector<std::string> { interface.node() });
}

TEST_F (usb_port, a_stall_a_timeout_and_a_short_reply_each_fail_with_their_code_and_the_next_request_works)
{
    using fault = emulated_device::fault;
    auto& interface = usb.plug();
    usb_driver driver;
    auto& d = *driver.front();
    const struct
    {
        fault what;
        int code;
        double at_least, below; // seconds
    } cases[] = {
        { fault::stall, EPIPE, 0, 0.5 },
        { fault::no_answer, ETIMEDOUT, qv::usb::transfer_timeout_ms / 1000.0, qv::usb::transfer_timeout_ms / 1000.0 + 0.5 },
        { fault::short_reply, EPROTO, 0, 0.5 },
        { fault::no_data, EPROTO, 0, 0.5 },
    };
    for (const auto& c : cases)
    {
        interface.set_block (std::vector<int> (16, 9));
        std::fill (std::begin (d.parameters), std::end (d.parameters), 1);
        interface.fail_next (c.what);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ (thrown_code ([&] { d.transfer (false); }), c.code);
        const double took = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
        EXPECT_GE (took, c.at_least);
        EXPECT_LT (took, c.below);
        EXPECT_EQ (bytes_of (d), std::vector<int> (16, 1)) << "a failed read leaves the block as it was";

        d.transfer (false);
        EXPECT_EQ (bytes_of (d), std::vector<int> (16, 9)) << c.code;
    }
}

TEST_F (usb_port, interfaces_plugged_and_pulled_come_and_go_and_one_pulled_mid_request_takes_nothing_else_with_it)
{
    usb_driver driver;
    EXPECT_TRUE (driver.empty());
    auto& a = usb.plug();
    auto& b = usb.plug ("1.3.0");
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 2; }, 3000));
    EXPECT_EQ (driver.arrivals, (std::vector<std::string> { a.node(), b.node() }));
    EXPECT_EQ (driver.back()->firmware, 0x01030000u);

    // Pulled while a click's write is on its way.
    qv::reference<device> held = driver.front();
    const auto untouched = b.block();
    a.fail_next (emulated_device::fault::vanish);
    held->parameters[10] = 255;
    EXPECT_EQ (thrown_code ([&] { held->transfer (true); }), ENODEV);
    usb.unplug (a);
    ASSERT_TRUE (pump_until ([&] { return driver.size() == 1; }, 3000));
    EXPECT_EQ (driver.removals, std::vector<std::string> { a.node() });
    EXPECT_TRUE (held->removed);
    EXPECT_EQ (thrown_code ([&] { held->transfer (false); }), ENODEV) << "the page still holding it";
    EXPECT_EQ (b.block(), untouched);

    // A removal whose handling failed is taken up again before the next arrival.
    driver.failures = 1;
    usb.unplug (b);
    ASSERT_TRUE (pump_until ([&] { return driver.failures == 0; }, 3000));
    EXPECT_EQ (driver.size(), 1u);
    auto& again = usb.plug();
    ASSERT_TRUE (pump_until ([&] { return driver.arrivals.size() == 3; }, 3000));
    EXPECT_EQ (paths_of (driver), std::vector<std::string> { again.node() });
    EXPECT_EQ (driver.removals, (std::vector<std::string> { a.node(), b.node() }));
}

TEST_F (usb_port, a_node_this_user_may_not_open_says_how_to_get_access)
{
    auto& interface = usb.plug();
    ASSERT_EQ (::chmod (usb.file_of (interface.node()).c_str(), 0600), 0);
    if (::geteuid() == 0)
        ASSERT_EQ (::chown (usb.file_of (interface.node()).c_str(), 65534, 65534), 0);
    std::int64_t code = 0;
    {
        without_file_capabilities user;
        code = thrown_code ([] { usb_driver driver; });
    }
    EXPECT_EQ (code, qv::usb::access_denied);
    EXPECT_TRUE (interface.ioctls().empty());
}

TEST_F (usb_port, no_interface_is_claimed_and_no_kernel_driver_detached)
{
    auto& interface = usb.plug();
    {
        usb_driver driver;
        auto& d = *driver.front();
        d.transfer (false);
        d.transfer (true);
        interface.fail_next (emulated_device::fault::no_answer);
        EXPECT_EQ (thrown_code ([&] { d.transfer (false); }), ETIMEDOUT);
    }
    const auto seen = interface.ioctls();
    ASSERT_FALSE (seen.empty());
    for (const auto request : seen)
        EXPECT_NE (std::find (std::begin (requests_without_side_effects), std::end (requests_without_side_effects), request),
                   std::end (requests_without_side_effects))
            << "request 0x" << std::hex << request;
}
