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
        no_answer,   // never completed (the caller times out, or the interface is pulled)
        short_reply, // one byte less than asked
        no_data,     // success, with no byte of what was asked
        vanish       // the interface is pulled while the request is under way
    };

    // What the device has lived through; read and changed under its lock (state()).
    struct record
    {
        vv_model model;
        fault next_fault = fault::none;
        bool gone = false;
        std::vector<unsigned long> ioctls;                       // every request seen, in order
        std::vector<std::vector<std::uint8_t>> setup_packets;    // of the control transfers
        std::function<void (const std::vector<int>&)> on_change; // the block after a write changed it
    };

    emulated_device (std::uint16_t vendor, std::uint16_t product, int number, const vv_model& model);
    ~emulated_device();
    emulated_device (const emulated_device&) = delete;
    emulated_device& operator= (const emulated_device&) = delete;

    const std::string& node() const { return device_node; }
    const std::string& syspath() const { return sys_path; }

    template <class F>
    auto state (F&& f)
    {
        std::lock_guard<std::mutex> hold (lock);
        return f (now);
    }
    std::vector<int> block();
    void set_block (const std::vector<int>& bytes);
    void fail_next (fault f) { state ([f] (record& r) { r.next_fault = f; }); }
    std::vector<unsigned long> ioctls() { return state ([] (record& r) { return r.ioctls; }); }
    std::vector<std::vector<std::uint8_t>> setup_packets() { return state ([] (record& r) { return r.setup_packets; }); }

private:
    friend class emulated_usb;
    struct urb
    {
        UMockdevIoctlData* urb_data = nullptr;
        UMockdevIoctlData* buffer_data = nullptr;
        bool ready = false;
    };

    static int on_ioctl (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self);
    static int on_read (UMockdevIoctlBase*, UMockdevIoctlClient* client, emulated_device* self);
    void submit (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void reap (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void discard (UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void answer (urb& u);
    std::string description() const; // the testbed's record of the device

    std::string device_node, sys_path;
    std::uint16_t vendor, product;
    int number;
    std::vector<std::uint8_t> descriptors;
    UMockdevIoctlBase* handler = nullptr;
    std::mutex lock;
    record now;
    std::deque<urb> urbs;
};

class emulated_usb
{
public:
    emulated_usb(); // throws std::runtime_error outside the preload
    ~emulated_usb();
    emulated_usb (const emulated_usb&) = delete;
    emulated_usb& operator= (const emulated_usb&) = delete;

    // Plugs in an interface with the model's power-on state; `announce` sends udev's "add".
    emulated_device& plug (const std::string& firmware = "1.1.1", std::uint16_t vendor = test_vendor,
                           std::uint16_t product = test_product, bool announce = true);
    // Sends udev's "remove"; requests under way end, later ones fail with ENODEV.
    void unplug (emulated_device& device);

    std::string file_of (const std::string& node) const; // a node's file in the testbed

private:
    UMockdevTestbed* testbed = nullptr;
    std::vector<std::unique_ptr<emulated_device>> devices;
    int next_number = 2;
};
