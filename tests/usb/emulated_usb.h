#pragma once

// USB interfaces for tests, emulated with umockdev: the real libusb and libudev see
// a device node whose usbfs requests are answered by the shared device model, on
// the testbed's own thread. Needs the umockdev preload (umockdev-wrapper).

#include "veltrano_model.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

typedef struct _UMockdevTestbed UMockdevTestbed;
typedef struct _UMockdevIoctlBase UMockdevIoctlBase;
typedef struct _UMockdevIoctlClient UMockdevIoctlClient;
typedef struct _UMockdevIoctlData UMockdevIoctlData;

constexpr std::uint16_t test_vendor = 0x1209;
constexpr std::uint16_t test_product = 0x0001;

class emulated_device
{
public:
    // What the next vendor control transfer meets.
    enum class fault
    {
        none,
        stall,       // the interface stalls the request
        no_answer,   // the request is never completed (the caller times out)
        short_reply, // one byte less than asked
        no_data,     // success, with no byte of what was asked
        vanish       // the interface is pulled while the request is under way
    };

    emulated_device (std::uint16_t vendor, std::uint16_t product, int number, const vv_model& model);
    ~emulated_device();
    emulated_device (const emulated_device&) = delete;
    emulated_device& operator= (const emulated_device&) = delete;

    const std::string& node() const { return device_node; }
    const std::string& syspath() const { return sys_path; }
    std::string description() const; // the testbed's record of the device

    std::vector<int> block() const;
    void set_block (const std::vector<int>& bytes);
    void fail_next (fault f);
    std::vector<unsigned long> ioctls() const; // every request seen, in order
    int reads() const;                         // descriptor reads
    std::vector<std::vector<std::uint8_t>> setup_packets() const; // of the control transfers answered

    // Called on the testbed's thread with the block after each write that changed it.
    void on_change (std::function<void (const std::vector<int>&)> watcher);

    UMockdevIoctlBase* handler() const { return ioctl_handler; }

private:
    struct urb
    {
        UMockdevIoctlData* urb_data = nullptr;
        UMockdevIoctlData* buffer_data = nullptr;
        bool ready = false;
    };

    static int on_ioctl (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self);
    static int on_read (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self);
    void ioctl (UMockdevIoctlClient* client);
    void submit (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void reap (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void discard (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void answer (urb& u);

    std::string device_node, sys_path;
    std::uint16_t vendor, product;
    int number;
    std::vector<std::uint8_t> descriptors;
    UMockdevIoctlBase* ioctl_handler = nullptr;

    mutable std::mutex lock;
    vv_model model;
    fault next_fault = fault::none;
    bool gone = false;
    std::deque<urb> urbs;
    std::vector<unsigned long> seen;
    std::vector<std::vector<std::uint8_t>> packets;
    int descriptor_reads = 0;
    std::function<void (const std::vector<int>&)> changed_watcher;

    friend class emulated_usb;
};

class emulated_usb
{
public:
    emulated_usb(); // throws std::runtime_error outside the preload
    ~emulated_usb();
    emulated_usb (const emulated_usb&) = delete;
    emulated_usb& operator= (const emulated_usb&) = delete;

    // Plugs in an interface with the model's state; `announce` sends udev's "add".
    emulated_device& plug (const std::string& firmware = "1.1.1", std::uint16_t vendor = test_vendor,
                           std::uint16_t product = test_product, bool announce = true);
    // Sends udev's "remove"; the device answers ENODEV from then on.
    void unplug (emulated_device& device);

    std::string root() const; // the testbed's folder
    std::string file_of (const std::string& node) const { return root() + node; }

private:
    UMockdevTestbed* testbed = nullptr;
    std::vector<std::unique_ptr<emulated_device>> devices;
    int next_number = 2;
};
