#pragma once

// The interfaces on the USB buses, as udev knows them: those present now, and those
// that arrive and leave, reported on a descriptor that the caller polls.

#include "usb_ids.h"

#include <functional>
#include <string>
#include <vector>

struct udev;
struct udev_monitor;

namespace qv::usb
{
class monitor
{
public:
    // Listens to udev for USB devices; throws os_result.
    monitor();
    ~monitor();
    monitor (const monitor&) = delete;
    monitor& operator= (const monitor&) = delete;

    // Readable when udev has something to say.
    int descriptor() const;

    // The device nodes of the interfaces present, in node order.
    std::vector<std::string> present() const;

    // Takes what udev said since: `added` gets the node of each interface that arrived,
    // `removed` the node of each USB device that left (the caller knows which it holds).
    void read (const std::function<void (const std::string&)>& added,
               const std::function<void (const std::string&)>& removed);

private:
    ::udev* context = nullptr;
    udev_monitor* events = nullptr;
};
} // namespace qv::usb
