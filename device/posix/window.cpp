// The driver's notification endpoint on Linux: the USB interfaces udev knows and the
// bus folder, listed at start and then followed on the JUCE message thread (udev's
// monitor, inotify on the folder) for interfaces that arrive.
#include "bus.h"
#include "event_hub.h"
#include "hang_up.h"
#include "native_port.h"
#include "usb_removal.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{
// The windows alive now: a device is opened through the folder its window checked.
std::vector<port<os_result>::window*> windows;

std::string parent_of (const std::string& path)
{
    const auto slash = path.find_last_of ('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr (0, slash);
}

std::string base_of (const std::string& path) { return path.substr (path.find_last_of ('/') + 1); }

// A socket left behind by a host that was killed has nobody listening: it is not a
// plugged-in interface. A live host sees this probe as a client that left at once.
bool has_listener (const bus::folder& folder, const std::string& name)
{
    const int fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return true;
    const bool refused = folder.connect (fd, name) != 0 && (errno == ECONNREFUSED || errno == ENOENT);
    ::close (fd);
    return ! refused;
}

// Watches the very folder that was checked, not whatever its path leads to now.
int watch_folder (int inotify, const bus::folder& folder)
{
    return ::inotify_add_watch (inotify, ("/proc/self/fd/" + std::to_string (folder.descriptor())).c_str(),
                                IN_MOVED_TO | IN_CREATE | IN_ONLYDIR);
}
} // namespace

port<os_result>::window::window() : checked (bus::configured_folder())
{
    inotify = ::inotify_init1 (IN_NONBLOCK | IN_CLOEXEC);
    if (inotify < 0)
        throw os_result (static_cast<std::uint32_t> (errno));
    // Hosts bind a hidden name, listen, then rename it: the rename is the plug-in.
    folder_watch = watch_folder (inotify, checked);
    if (folder_watch < 0)
    {
        const int error = errno;
        ::close (inotify);
        throw os_result (static_cast<std::uint32_t> (error));
    }
    // Without it a folder made again is not followed; everything else still works.
    parent_watch = ::inotify_add_watch (inotify, parent_of (checked.path()).c_str(), IN_CREATE | IN_MOVED_TO);
    driver_link = std::make_shared<link>();
    try
    {
        event_hub::watch (inotify, EPOLLIN, [this] { read_folder_events(); });
        try
        {
            event_hub::watch (usb_devices.descriptor(), EPOLLIN, [this] { read_usb_events(); });
        }
        catch (...)
        {
            event_hub::unwatch (inotify);
            throw;
        }
    }
    catch (...)
    {
        ::close (inotify);
        throw;
    }
    event_hub::hold();
    windows.push_back (this);
}

port<os_result>::window::~window()
{
    windows.erase (std::find (windows.begin(), windows.end(), this));
    driver_link->events = {};
    event_hub::unwatch (usb_devices.descriptor());
    event_hub::unwatch (inotify);
    event_hub::release();
    ::close (inotify);
}

void port<os_result>::window::attach (const hotplug<handle_type>& events) { driver_link->events = events; }

int port<os_result>::window::connect (int socket_fd, const std::string& path)
{
    for (const window* w : windows)
    {
        const auto& folder = w->checked.path();
        if (path.size() > folder.size() && path.compare (0, folder.size(), folder) == 0 && path[folder.size()] == '/'
            && bus::is_interface_name (path.substr (folder.size() + 1)))
            return w->checked.connect (socket_fd, path.substr (folder.size() + 1));
    }
    errno = ENOENT;
    return -1;
}

void port<os_result>::window::enumerate (const std::function<void (std::string)>& each)
{
    // Real interfaces first, then the virtual ones.
    for (auto& node : usb_devices.present())
        each (std::move (node));
    enumerate_bus (each);
}

void port<os_result>::window::enumerate_bus (const std::function<void (std::string)>& each)
{
    // A descriptor of its own: readdir moves the offset of the one it reads.
    const int listing = ::openat (checked.descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* folder = listing < 0 ? nullptr : ::fdopendir (listing);
    if (folder == nullptr)
    {
        const int error = errno;
        if (listing >= 0)
            ::close (listing);
        throw os_result (static_cast<std::uint32_t> (error));
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir (folder))
        if (bus::is_interface_name (entry->d_name))
            names.emplace_back (entry->d_name);
    ::closedir (folder);

    std::sort (names.begin(), names.end());
    for (auto& name : names)
        if (has_listener (checked, name))
            each (checked.path() + "/" + name);
}

void port<os_result>::window::announce_present()
{
    enumerate_bus ([this] (std::string path) { driver_link->events.arrival (driver_link->events.driver, std::move (path)); });
}

void port<os_result>::window::follow_replaced_folder()
{
    try
    {
        bus::folder again (checked.path());
        struct stat now {}, before {};
        if (::fstat (again.descriptor(), &now) != 0 || ::fstat (checked.descriptor(), &before) != 0
            || (now.st_dev == before.st_dev && now.st_ino == before.st_ino))
            return;
        const int watch = watch_folder (inotify, again);
        if (watch < 0)
            return;
        ::inotify_rm_watch (inotify, folder_watch);
        folder_watch = watch;
        checked = std::move (again);
        // Hosts may have plugged in before the watch was there.
        report_pending_hang_ups();
        announce_present();
    }
    catch (...)
    {
        // Gone again, or not a folder to trust: wait for the next one.
    }
}

void port<os_result>::window::read_usb_events()
{
    usb_devices.read (
        [this] (const std::string& node) {
            if (! driver_link->events.attached())
                return;
            usb_removal::report_pending();
            driver_link->events.arrival (driver_link->events.driver, node);
        },
        [] (const std::string& node) { usb_removal::report (node); });
}

void port<os_result>::window::read_folder_events()
{
    alignas (inotify_event) char buffer[4096];
    for (;;)
    {
        const ssize_t n = ::read (inotify, buffer, sizeof buffer);
        if (n <= 0)
            return; // EAGAIN: all read
        for (ssize_t offset = 0; offset < n;)
        {
            const auto* event = reinterpret_cast<const inotify_event*> (buffer + offset);
            offset += static_cast<ssize_t> (sizeof (inotify_event) + event->len);

            if (! driver_link->events.attached())
                continue;
            if ((event->mask & IN_Q_OVERFLOW) != 0)
            {
                // Events were lost: whatever is present and not listed yet arrives now.
                follow_replaced_folder();
                report_pending_hang_ups();
                try
                {
                    announce_present();
                }
                catch (...)
                {
                }
                continue;
            }
            if (event->len == 0)
                continue;
            const std::string name (event->name);
            if (event->wd == parent_watch)
            {
                if (name == base_of (checked.path()))
                    follow_replaced_folder();
                continue;
            }
            // Whatever is no socket fails to open, and is dropped there.
            if (event->wd == folder_watch && bus::is_interface_name (name))
            {
                report_pending_hang_ups();
                driver_link->events.arrival (driver_link->events.driver, checked.path() + "/" + name);
            }
        }
    }
}
} // namespace qv
