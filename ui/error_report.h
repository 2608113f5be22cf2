#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <exception>

// What the user is told about a failure: the system's text for an `os_result`, the
// translation of "n/a" for anything else.
juce::String describe_failure (std::exception_ptr failure);

// The warning box titled "<application name> Exception" (translated) with `message`. The
// answer is ignored. Without `closed` the box runs modally; with it, the call returns at
// once and `closed` is called when the box goes.
void show_failure_box (const juce::String& message, juce::ModalComponentManager::Callback* closed = nullptr);

// For a failure that escaped a click: the box is shown once the click's own call stack
// has unwound, from the message loop, and the program goes on.
void report_escaped_failure (std::exception_ptr failure);
