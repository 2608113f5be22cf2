#pragma once

#include <juce_events/juce_events.h>

#include <chrono>
#include <functional>

// Runs the JUCE message loop until `done` holds or `ms` pass; returns `done()`.
inline bool pump_until (const std::function<bool()>& done, int ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds (ms);
    while (! done() && std::chrono::steady_clock::now() < deadline)
        juce::MessageManager::getInstance()->runDispatchLoopUntil (5);
    return done();
}

// Runs the message loop for `ms`.
inline void pump_for (int ms) { juce::MessageManager::getInstance()->runDispatchLoopUntil (ms); }
