#pragma once

#include <juce_events/juce_events.h>

#include <glib.h>

#include <map>
#include <vector>

namespace atspi
{
// Runs GLib's default main context inside JUCE's message loop. GLib's descriptors join the
// loop's own poll and its next deadline becomes a one-shot timer, so the panel wakes only
// when GLib has work: no timer ticks while nothing happens.
class glib_pump : private juce::Timer, private juce::AsyncUpdater
{
public:
    glib_pump();
    ~glib_pump() override;
    glib_pump (const glib_pump&) = delete;
    glib_pump& operator= (const glib_pump&) = delete;

    // Work was handed to GLib from outside it (a signal emitted): run it soon.
    void poke() { triggerAsyncUpdate(); }

    // How often GLib was run, for the figures.
    int runs() const { return run_count; }

private:
    void run();
    void watch (const std::vector<GPollFD>& fds, int timeout_ms);
    void timerCallback() override;
    void handleAsyncUpdate() override { run(); }

    GMainContext* const context;
    std::map<int, gushort> watched; // descriptor -> GLib's events
    int run_count = 0;
};
}
