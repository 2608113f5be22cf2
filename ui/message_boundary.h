#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <exception>

// Where the system hands messages to a top-level window of the panel. On Windows no C++
// exception may leave a window procedure: the system's frames between the message loop
// and the procedure cannot be unwound on x64. So a failure that escapes what a message
// did (a click or a key that reached an interface) is caught right there and reported
// as report_escaped_failure reports it. Elsewhere the message loop's own catch sees the
// failure, and the boundary does nothing.
class message_boundary : private juce::ComponentListener
{
public:
    // Guards the window of `top_level` now and whenever it gets a new one.
    explicit message_boundary (juce::Component& top_level);
    ~message_boundary() override;
    message_boundary (const message_boundary&) = delete;
    message_boundary& operator= (const message_boundary&) = delete;

    // Puts the boundary around the window procedure of the native window `native`
    // (an HWND); a window already guarded is left as it is.
    static void guard (void* native);

    // What a caught failure is handed to: report_escaped_failure, which shows the warning
    // box. Tests, which have no display for a box, put their own here.
    static void (*report) (std::exception_ptr failure);

private:
    void componentParentHierarchyChanged (juce::Component&) override;

    juce::Component& watched;
};
