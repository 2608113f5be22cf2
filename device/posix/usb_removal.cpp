#include "usb_removal.h"

#include "device/usb/usb_connection.h"

#include <map>
#include <vector>

namespace qv::usb_removal
{
namespace
{
struct watched_handle
{
    std::shared_ptr<port<os_result>::window::link> link;
    bool left = false; // udev said so, and the driver has not taken it yet
};

std::map<int, watched_handle> watched;

void announce (int handle)
{
    const auto found = watched.find (handle);
    if (found == watched.end())
        return;
    found->second.left = true;
    const auto link = found->second.link;
    if (! link->events.attached())
        return;
    if (link->events.removal (link->events.driver, handle))
        watched.erase (handle); // unwatched by now when the device went with its last reference
}
} // namespace

int watch (int handle, const std::shared_ptr<port<os_result>::window::link>& link)
{
    watched[handle] = { link };
    return handle;
}

void unwatch (int notification) { watched.erase (notification); }

void report (const std::string& node)
{
    std::vector<int> handles;
    for (const auto& entry : watched)
        if (usb::node_of (entry.first) == node)
            handles.push_back (entry.first);
    for (const int handle : handles)
        announce (handle);
}

void report_pending()
{
    std::vector<int> handles;
    for (const auto& entry : watched)
        if (entry.second.left)
            handles.push_back (entry.first);
    for (const int handle : handles)
        announce (handle);
}
} // namespace qv::usb_removal
