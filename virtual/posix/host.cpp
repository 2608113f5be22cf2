#include "host.h"

#include "device/posix/bus.h"
#include "device/qv/result.h"
#include "device/posix/wire.h"
#include "session.h"
#include "state_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <stdexcept>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t stop_requested = 0;

void request_stop (int) { stop_requested = 1; }

std::runtime_error system_error (const std::string& what, int code = errno)
{
    return std::runtime_error (what + ": " + std::strerror (code));
}

// True when a host answers at `name`; false for a socket left behind by a killed one.
bool someone_listens (const qv::bus::folder& folder, const std::string& name)
{
    const int probe = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool live = probe >= 0 && (folder.connect (probe, name) == 0 || errno == EAGAIN);
    if (probe >= 0)
        ::close (probe);
    return live;
}

bool hung_up (int fd)
{
    pollfd p { fd, POLLRDHUP, 0 };
    return ::poll (&p, 1, 0) > 0 && (p.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

// Frames are small and a client reads each reply before it asks again; one that
// lets its socket fill up is not listening, and is dropped rather than waited for.
bool send_frame (int fd, const std::vector<std::uint8_t>& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size())
    {
        const ssize_t n = ::send (fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += static_cast<std::size_t> (n);
    }
    return true;
}
} // namespace

void install_unplug_signals()
{
    struct sigaction action {};
    action.sa_handler = request_stop;
    sigemptyset (&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: poll and nanosleep return at once
    ::sigaction (SIGINT, &action, nullptr);
    ::sigaction (SIGTERM, &action, nullptr);
    std::signal (SIGPIPE, SIG_IGN);
}

host::host (const vv_options& settings)
    : model (settings.model), name (settings.name != nullptr ? settings.name : "veltrano-" + std::to_string (::getpid())),
      state_file (settings.state_file != nullptr ? settings.state_file : "")
{
    const std::string wanted = settings.bus != nullptr ? settings.bus : qv::bus::configured_folder();
    try
    {
        folder = qv::bus::folder (wanted);
    }
    catch (qv::os_result code)
    {
        throw std::runtime_error ("bus folder " + wanted + " refused: " + std::strerror (static_cast<int> (code))
                                  + (code == EPERM     ? " (owned by another user)"
                                     : code == EACCES  ? " (others may write to it; it must be mode 0700)"
                                     : code == ENOTDIR ? " (a symbolic link or a file, not a folder)"
                                                       : ""));
    }
    // The state file is replaced by a rename: never let that replace something else.
    struct stat state {};
    if (! state_file.empty() && ::lstat (state_file.c_str(), &state) == 0 && ! S_ISREG (state.st_mode))
        throw std::runtime_error ("--state-file: " + state_file + " exists and is not a regular file");
    socket_path = folder.path() + "/" + name;
    plug_in();
}

void host::plug_in()
{
    const int bus = folder.descriptor();
    // Hosts take names one at a time: two started together with one name must not
    // both find it free.
    while (::flock (bus, LOCK_EX) != 0)
        if (errno != EINTR)
            throw system_error ("cannot lock the bus folder " + folder.path());
    struct unlock_when_done
    {
        int fd;
        ~unlock_when_done() { ::flock (fd, LOCK_UN); }
    } unlock { bus };

    struct stat existing {};
    if (::fstatat (bus, name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0)
    {
        if (! S_ISSOCK (existing.st_mode))
            throw std::runtime_error (socket_path + " exists and is not an interface socket");
        if (someone_listens (folder, name))
            throw std::runtime_error ("an interface named " + name + " is plugged in already");
        ::unlinkat (bus, name.c_str(), 0); // left behind by a host that was killed
    }

    const std::string hidden = ".plugging-" + std::to_string (::getpid());
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const auto through = folder.inside (hidden); // short: it goes through the folder's descriptor
    std::memcpy (address.sun_path, through.c_str(), through.size() + 1);

    listener = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0)
        throw system_error ("socket");
    ::unlinkat (bus, hidden.c_str(), 0);
    auto give_up = [&] (const std::string& what, int code) {
        ::close (listener);
        listener = -1;
        ::unlinkat (bus, hidden.c_str(), 0);
        return system_error (what, code);
    };
    if (::bind (listener, reinterpret_cast<const sockaddr*> (&address), sizeof address) != 0 || ::listen (listener, 8) != 0)
        throw give_up ("cannot listen in " + folder.path(), errno);
    // The state is there before the interface is: a test that sees the socket can read it.
    save_state();
    // The rename is the plug-in; it never replaces what another host plugged in.
    int renamed = ::renameat2 (bus, hidden.c_str(), bus, name.c_str(), RENAME_NOREPLACE);
    if (renamed != 0 && errno == EINVAL) // a file system without it: the lock still holds other hosts off
        renamed = ::renameat (bus, hidden.c_str(), bus, name.c_str());
    if (renamed != 0)
    {
        const int code = errno;
        if (code == EEXIST)
            throw give_up ("an interface named " + name + " is plugged in already", code);
        throw give_up ("cannot plug in at " + socket_path, code);
    }
}

host::~host()
{
    drop_client();
    if (listener >= 0)
    {
        ::unlinkat (folder.descriptor(), name.c_str(), 0);
        ::close (listener);
    }
}

void host::run()
{
    while (stop_requested == 0)
    {
        pollfd fds[2] = { { listener, POLLIN, 0 }, { client, POLLIN | POLLRDHUP, 0 } };
        const int ready = ::poll (fds, client >= 0 ? 2 : 1, -1);
        if (ready < 0)
        {
            if (errno == EINTR)
                continue;
            throw system_error ("poll");
        }
        if (client >= 0 && fds[1].revents != 0)
            serve_client();
        if (stop_requested == 0 && (fds[0].revents & POLLIN) != 0)
            accept_client();
    }
}

void host::accept_client()
{
    const int incoming = ::accept4 (listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (incoming < 0)
        return;
    if (! qv::bus::peer_is_own_user (incoming))
    {
        send_frame (incoming, qv::wire::encode (qv::wire::hello, 0, EPERM, nullptr, 0));
        ::close (incoming);
        std::printf ("refused a client of another user\n");
        std::fflush (stdout);
        return;
    }
    // A client that has left but not been noticed yet no longer holds the interface.
    if (client >= 0 && hung_up (client))
        drop_client();
    if (client >= 0)
    {
        send_frame (incoming, qv::wire::encode (qv::wire::hello, 0, EBUSY, nullptr, 0));
        ::close (incoming);
        return;
    }
    client = incoming;
    conversation = std::make_unique<session> (model);
    send_frame (client, qv::wire::encode (qv::wire::hello, 0, 0, nullptr, 0));
}

void host::serve_client()
{
    std::uint8_t chunk[1024];
    const ssize_t n = ::recv (client, chunk, sizeof chunk, MSG_DONTWAIT);
    if (n < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (n <= 0)
    {
        drop_client(); // gone, possibly in the middle of a frame
        return;
    }
    for (auto& r : conversation->receive (chunk, static_cast<std::size_t> (n)))
    {
        if (model.faults.reply_delay_ms > 0 && ! pause (model.faults.reply_delay_ms))
            return;
        if (r.vanish)
        {
            std::printf ("vanished after %u requests\n", model.answered);
            std::fflush (stdout);
            stop_requested = 1;
            return;
        }
        // The write is on record before it is acknowledged.
        if (r.wrote_block)
        {
            report_changes (r.changed_mask, r.before);
            save_state();
        }
        if (! send_frame (client, r.reply))
        {
            drop_client();
            return;
        }
        if (r.hang_up)
        {
            std::printf ("dropped a client that sent a malformed frame\n");
            std::fflush (stdout);
            drop_client();
            return;
        }
    }
}

void host::drop_client()
{
    conversation.reset();
    if (client >= 0)
        ::close (client);
    client = -1;
}

void host::report_changes (std::uint32_t mask, const std::uint8_t* before)
{
    for (unsigned i = 0; i < VV_BLOCK_SIZE; ++i)
        if ((mask & (1u << i)) != 0)
            std::printf ("byte %u (%s): %u -> %u\n", i, vv_parameter_name (i), before[i], model.block[i]);
    std::fflush (stdout);
}

void host::save_state()
{
    if (! state_file.empty() && ! write_state_file (state_file, name, socket_path, model))
        std::fprintf (stderr, "veltrano-virtual: cannot write %s: %s\n", state_file.c_str(), std::strerror (errno));
}

bool host::pause (std::uint32_t ms)
{
    timespec left { static_cast<time_t> (ms / 1000), static_cast<long> (ms % 1000) * 1000000L };
    while (::nanosleep (&left, &left) != 0 && errno == EINTR)
        if (stop_requested != 0)
            return false;
    return stop_requested == 0;
}
