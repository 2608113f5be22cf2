#if ! defined(_WIN32)

#include "scripted_host.h"

#include "device/posix/wire.h"
#include "session.h"

#include <chrono>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int bound_socket (const std::string& path, bool listening)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strcpy (address.sun_path, path.c_str());
    const int fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind (fd, reinterpret_cast<sockaddr*> (&address), sizeof address) != 0 || (listening && ::listen (fd, 4) != 0))
    {
        ::close (fd);
        return -1;
    }
    return fd;
}

scripted_host::scripted_host (const temporary_bus& bus, const std::string& name, script_type script)
    : script (std::move (script)), listener (bound_socket (bus.interface_path (name)))
{
    if (listener < 0)
        throw std::runtime_error ("the scripted host cannot listen");
    thread = std::thread ([this] { serve(); });
}

scripted_host::~scripted_host()
{
    thread.join();
    ::close (listener);
}

bool scripted_host::client_left (int ms) const
{
    for (int waited = 0; ! left && waited < ms; waited += 2)
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    return left;
}

void scripted_host::serve()
{
    vv_model model;
    vv_model_init (&model);
    int answered = 0;
    // A probe that connects and leaves at once asks nothing: serve the next one.
    while (! left)
    {
        pollfd waiting { listener, POLLIN, 0 };
        if (::poll (&waiting, 1, 5000) <= 0)
            return; // nobody came
        const int client = ::accept4 (listener, nullptr, nullptr, SOCK_CLOEXEC);
        const auto hello = qv::wire::encode (qv::wire::hello, 0, 0, nullptr, 0);
        ::send (client, hello.data(), hello.size(), MSG_NOSIGNAL);
        session conversation (model);
        std::uint8_t chunk[512];
        for (ssize_t n; (n = ::recv (client, chunk, sizeof chunk, 0)) > 0;)
            for (auto& r : conversation.receive (chunk, static_cast<std::size_t> (n)))
            {
                const auto reply = script (answered++, std::move (r.reply));
                ::send (client, reply.data(), reply.size(), MSG_NOSIGNAL);
            }
        ::close (client);
        left = answered > 0;
    }
}

#endif
