#pragma once

// The Linux port's descriptors (the bus folder's inotify and every open interface),
// watched through one epoll descriptor that JUCE's run loop polls. JUCE's Linux loop
// goes on, after a modal loop ran inside one of its callbacks (a gain menu opened by
// a click), with the callbacks it had picked up for that pass; one of ours that was
// unregistered meanwhile would be called after being freed. With a single
// registration that outlives every device, nothing JUCE holds is freed mid-pass.

#include <cstdint>
#include <functional>

namespace qv::event_hub
{
// Calls `handler` on the message thread while `fd` has any of `events` (epoll flags;
// hang-up and errors always count). Throws os_result.
void watch (int fd, std::uint32_t events, std::function<void()> handler);

// Stops calling the handler of `fd`; a dispatch already under way skips it.
void unwatch (int fd);

// The hub is registered with JUCE while at least one holder (a driver's window) lives.
void hold();
void release();
} // namespace qv::event_hub
