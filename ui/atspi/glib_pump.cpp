#include "ui/atspi/glib_pump.h"

namespace
{
    // Rounds of ready sources run in one go before the loop gets a turn again.
    constexpr int rounds_per_run = 64;
}

atspi::glib_pump::glib_pump() : context (g_main_context_default())
{
    g_main_context_acquire (context);
    run();
}

atspi::glib_pump::~glib_pump()
{
    stopTimer();
    cancelPendingUpdate();
    for (auto& [fd, events] : watched)
        juce::LinuxEventLoop::unregisterFdCallback (fd);
    g_main_context_release (context);
}

void atspi::glib_pump::timerCallback()
{
    stopTimer();
    run();
}

void atspi::glib_pump::run()
{
    ++run_count;
    std::vector<GPollFD> fds;
    for (int round = 0; round < rounds_per_run; ++round)
    {
        gint priority = 0;
        g_main_context_prepare (context, &priority);
        gint timeout = -1;
        gint count = 0;
        // GLib says how many descriptors it has when it has more than there is room for.
        while ((count = g_main_context_query (context, priority, &timeout, fds.data(), static_cast<gint> (fds.size())))
               > static_cast<gint> (fds.size()))
            fds.resize (static_cast<size_t> (count));
        fds.resize (static_cast<size_t> (count));

        g_poll (fds.data(), static_cast<guint> (count), 0);
        if (g_main_context_check (context, priority, fds.data(), count))
        {
            g_main_context_dispatch (context);
            continue;
        }
        watch (fds, timeout);
        return;
    }
    // GLib keeps finding work: the rest waits for the loop's next pass, so the panel answers.
    triggerAsyncUpdate();
}

void atspi::glib_pump::watch (const std::vector<GPollFD>& fds, int timeout_ms)
{
    std::map<int, gushort> wanted;
    for (const auto& fd : fds)
        wanted[fd.fd] |= fd.events;

    for (auto it = watched.begin(); it != watched.end();)
    {
        const auto keep = wanted.find (it->first);
        if (keep != wanted.end() && keep->second == it->second)
        {
            ++it;
            continue;
        }
        juce::LinuxEventLoop::unregisterFdCallback (it->first);
        it = watched.erase (it);
    }
    for (const auto& [fd, events] : wanted)
    {
        if (watched.count (fd) != 0)
            continue;
        // GLib's G_IO_* values are poll's own on Linux.
        juce::LinuxEventLoop::registerFdCallback (fd, [this] (int) { run(); }, static_cast<short> (events));
        watched[fd] = events;
    }

    if (timeout_ms == 0)
        triggerAsyncUpdate();
    else if (timeout_ms > 0)
        startTimer (timeout_ms);
    else
        stopTimer();
}
