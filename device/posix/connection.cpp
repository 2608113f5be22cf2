// One open interface: a connected socket to its veltrano-virtual host. Every
// control request is one frame out and one frame back within a bounded time.
#include "bus.h"
#include "event_hub.h"
#include "hang_up.h"
#include "bus_connection.h"
#include "wire.h"

#include <cerrno>
#include <chrono>
#include <map>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace qv
{
using link_type = port<os_result>::window::link;

namespace
{
using clock = std::chrono::steady_clock;

// Bytes received but not yet taken, per connection: a late reply may arrive in pieces.
std::map<int, std::vector<std::uint8_t>> pending;

// Descriptors watched for a hang-up, with the driver each reports to (all on the
// message thread). The link outlives the window if a device does.
std::map<int, std::shared_ptr<link_type>> watched;

std::uint32_t last_sequence = 0;

[[noreturn]] void fail (int code) { throw os_result (static_cast<std::uint32_t> (code)); }

int remaining_ms (clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds> (deadline - clock::now()).count();
    return left > 0 ? static_cast<int> (left) : 0;
}

// Waits for `events` on `fd` until the deadline; throws ETIMEDOUT when it passes.
void wait_for (int fd, short events, clock::time_point deadline)
{
    for (;;)
    {
        pollfd p { fd, events, 0 };
        const int ready = ::poll (&p, 1, remaining_ms (deadline));
        if (ready > 0)
            return;
        if (ready == 0)
            fail (ETIMEDOUT);
        if (errno != EINTR)
            fail (errno);
    }
}

void send_all (int fd, const std::vector<std::uint8_t>& bytes, clock::time_point deadline)
{
    std::size_t sent = 0;
    while (sent < bytes.size())
    {
        const ssize_t n = ::send (fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n >= 0)
            sent += static_cast<std::size_t> (n);
        else if (errno == EAGAIN || errno == EWOULDBLOCK)
            wait_for (fd, POLLOUT, deadline);
        else if (errno != EINTR)
            fail (errno);
    }
}

// Reads frames until the reply to (code, sequence) is whole; copies its payload to
// `out`. A late reply to an earlier request is dropped on the way.
void receive_reply (int fd, std::uint32_t code, std::uint32_t sequence, void* out, std::uint32_t capacity,
                    clock::time_point deadline)
{
    auto& buffer = pending[fd];
    for (;;)
    {
        std::uint32_t status = 0;
        switch (wire::take_reply (buffer, code, sequence, out, capacity, status))
        {
            case wire::take_result::answered:
                if (status != 0)
                    fail (static_cast<int> (status));
                return;
            case wire::take_result::broken:
                // Nothing later on this stream can be trusted: end it, and the hang-up
                // it makes has the interface taken for gone.
                ::shutdown (fd, SHUT_RDWR);
                fail (EPROTO);
            case wire::take_result::need_more:
                break;
        }

        std::uint8_t chunk[512];
        const ssize_t n = ::recv (fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (n > 0)
            buffer.insert (buffer.end(), chunk, chunk + n);
        else if (n == 0)
            fail (ENODEV); // the host went away: the interface is unplugged
        else if (errno == EAGAIN || errno == EWOULDBLOCK)
            wait_for (fd, POLLIN, deadline);
        else if (errno != EINTR)
            fail (errno);
    }
}

clock::time_point deadline_from_now() { return clock::now() + std::chrono::milliseconds (bus_connection::reply_timeout_ms); }
} // namespace

int bus_connection::open (const std::string& path)
{
    const int fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        fail (errno);
    try
    {
        // A host whose backlog is full is not accepting: give up after the same bound.
        const timeval bound { reply_timeout_ms / 1000, (reply_timeout_ms % 1000) * 1000 };
        ::setsockopt (fd, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
        if (port<os_result>::window::connect (fd, path) != 0)
            fail (errno == EAGAIN ? ETIMEDOUT : errno);
        // Only a host of this user may stand for an interface.
        if (! bus::peer_is_own_user (fd))
            fail (EPERM);
        if (::fcntl (fd, F_SETFL, ::fcntl (fd, F_GETFL) | O_NONBLOCK) != 0)
            fail (errno);
        // The host's greeting says whether this is its one client (EBUSY otherwise).
        receive_reply (fd, wire::hello, 0, nullptr, 0, deadline_from_now());
    }
    catch (...)
    {
        pending.erase (fd);
        ::close (fd);
        throw;
    }
    return fd;
}

int bus_connection::watch (int handle, const std::shared_ptr<link_type>& link)
{
    // Hang-up and errors only: a late reply is no event.
    event_hub::watch (handle, EPOLLRDHUP, [handle] { report_hang_up (handle); });
    watched[handle] = link;
    return handle;
}

void bus_connection::unwatch (int notification)
{
    if (watched.erase (notification) != 0)
        event_hub::unwatch (notification);
}

namespace
{
bool has_hung_up (int fd)
{
    pollfd p { fd, POLLRDHUP, 0 };
    return ::poll (&p, 1, 0) > 0 && p.revents != 0;
}
} // namespace

void report_hang_up (int fd)
{
    // A callback picked up in the same loop pass may name a descriptor that has been
    // closed and reused by a new connection since: only a real hang-up counts.
    const auto found = watched.find (fd);
    if (found == watched.end() || ! has_hung_up (fd))
        return;
    const auto link = found->second;
    watched.erase (found);
    event_hub::unwatch (fd);
    // A removal whose handling failed is tried again before the next arrival, or the
    // interface could never come back under its name.
    if (link->events.attached() && ! link->events.removal (link->events.driver, fd))
        watched[fd] = link;
}

void report_pending_hang_ups()
{
    std::vector<int> gone;
    for (const auto& entry : watched)
        if (has_hung_up (entry.first))
            gone.push_back (entry.first);
    for (int fd : gone)
        report_hang_up (fd);
}

void bus_connection::close (int handle)
{
    pending.erase (handle);
    ::close (handle);
}

void bus_connection::control (int handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                               void* out, std::uint32_t out_size)
{
    if (in_size > wire::max_payload || out_size > wire::max_payload)
        fail (EINVAL);
    const auto deadline = deadline_from_now();
    const std::uint32_t sequence = ++last_sequence == 0 ? ++last_sequence : last_sequence;
    send_all (handle, wire::encode (code, sequence, out_size, in, in_size), deadline);
    receive_reply (handle, code, sequence, out, out_size, deadline);
}
} // namespace qv
