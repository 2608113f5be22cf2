#include "event_hub.h"
#include "device/qv/result.h"

#include <juce_events/juce_events.h>

#include <cerrno>
#include <map>
#include <memory>
#include <sys/epoll.h>

namespace qv::event_hub
{
namespace
{
int hub = -1;
int holders = 0;
std::map<int, std::shared_ptr<std::function<void()>>> handlers;

int descriptor()
{
    if (hub < 0)
    {
        hub = ::epoll_create1 (EPOLL_CLOEXEC);
        if (hub < 0)
            throw os_result (static_cast<std::uint32_t> (errno));
    }
    return hub;
}

void dispatch()
{
    epoll_event ready[32];
    const int count = ::epoll_wait (hub, ready, 32, 0);
    for (int i = 0; i < count; ++i)
    {
        // An earlier handler of this pass may have unwatched this one.
        const auto found = handlers.find (ready[i].data.fd);
        if (found == handlers.end())
            continue;
        const auto handler = found->second; // alive while it runs, even if it unwatches itself
        (*handler)();
    }
}
} // namespace

void watch (int fd, std::uint32_t events, std::function<void()> handler)
{
    epoll_event event {};
    event.events = events;
    event.data.fd = fd;
    if (::epoll_ctl (descriptor(), EPOLL_CTL_ADD, fd, &event) != 0)
        throw os_result (static_cast<std::uint32_t> (errno));
    handlers[fd] = std::make_shared<std::function<void()>> (std::move (handler));
}

void unwatch (int fd)
{
    if (handlers.erase (fd) != 0)
        ::epoll_ctl (hub, EPOLL_CTL_DEL, fd, nullptr);
}

void hold()
{
    if (holders++ == 0)
        juce::LinuxEventLoop::registerFdCallback (descriptor(), [] (int) { dispatch(); });
}

void release()
{
    if (holders > 0 && --holders == 0)
        juce::LinuxEventLoop::unregisterFdCallback (hub);
}
} // namespace qv::event_hub
