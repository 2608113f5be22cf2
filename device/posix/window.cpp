// The driver's notification endpoint on Linux: the bus folder, listed at start and
// watched with inotify on the JUCE message thread for interfaces that arrive.
#include "bus.h"
#include "event_hub.h"
#include "hang_up.h"
#include "native_port.h"


#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace qv
{
namespace
{
bool is_socket (const std::string& path)
{
    struct stat info {};
    return ::lstat (path.c_str(), &info) == 0 && S_ISSOCK (info.st_mode);
}

// A socket left behind by a host that was killed has nobody listening: it is not a
// plugged-in interface. A live host sees this probe as a client that left at once.
bool has_listener (const std::string& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return true; // let the open report it
    std::memcpy (address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return true;
    const bool refused = ::connect (fd, reinterpret_cast<const sockaddr*> (&address), sizeof address) != 0
                      && (errno == ECONNREFUSED || errno == ENOENT);
    ::close (fd);
    return ! refused;
}
} // namespace

port<os_result>::window::window() : bus (bus::open_folder (bus::configured_folder()))
{
    inotify = ::inotify_init1 (IN_NONBLOCK | IN_CLOEXEC);
    if (inotify < 0)
        throw os_result (static_cast<std::uint32_t> (errno));
    // Hosts bind a hidden name, listen, then rename it: the rename is the plug-in.
    if (::inotify_add_watch (inotify, bus.c_str(), IN_MOVED_TO | IN_CREATE | IN_ONLYDIR) < 0)
    {
        const int error = errno;
        ::close (inotify);
        throw os_result (static_cast<std::uint32_t> (error));
    }
    driver_link = std::make_shared<link>();
    try
    {
        event_hub::watch (inotify, EPOLLIN, [this] { read_folder_events(); });
    }
    catch (...)
    {
        ::close (inotify);
        throw;
    }
    event_hub::hold();
}

port<os_result>::window::~window()
{
    driver_link->events = {};
    event_hub::unwatch (inotify);
    event_hub::release();
    ::close (inotify);
}

void port<os_result>::window::attach (const hotplug<handle_type>& events) { driver_link->events = events; }

std::vector<std::string> port<os_result>::window::enumerate()
{
    DIR* folder = ::opendir (bus.c_str());
    if (folder == nullptr)
        throw os_result (static_cast<std::uint32_t> (errno));
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir (folder))
        if (bus::is_interface_name (entry->d_name))
            names.emplace_back (entry->d_name);
    ::closedir (folder);

    std::sort (names.begin(), names.end());
    std::vector<std::string> paths;
    for (auto& name : names)
    {
        auto path = bus + "/" + name;
        if (is_socket (path) && has_listener (path))
            paths.push_back (std::move (path));
    }
    return paths;
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
                report_pending_hang_ups();
                try
                {
                    for (auto& path : enumerate())
                        driver_link->events.arrival (driver_link->events.driver, path);
                }
                catch (...)
                {
                }
                continue;
            }
            if (event->len == 0 || (event->mask & IN_ISDIR) != 0)
                continue;
            const std::string name (event->name);
            const auto path = bus + "/" + name;
            if (bus::is_interface_name (name) && is_socket (path))
            {
                report_pending_hang_ups();
                driver_link->events.arrival (driver_link->events.driver, path);
            }
        }
    }
}
} // namespace qv
