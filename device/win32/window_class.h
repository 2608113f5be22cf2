#pragma once

// A window class of the program's own, named by a fresh UUID so that every run and
// every driver registers a class no other can hold.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace qv
{
class window_class
{
public:
    // Registers the class; throws os_result (an RPC status or GetLastError()).
    explicit window_class (WNDPROC procedure);
    // Unregisters the class, then frees its name.
    ~window_class();
    window_class (const window_class&) = delete;
    window_class& operator= (const window_class&) = delete;

    const char* name() const noexcept { return reinterpret_cast<const char*> (uuid_text); }
    HINSTANCE instance() const noexcept { return description.hInstance; }

private:
    WNDCLASSEXA description {};
    unsigned char* uuid_text = nullptr; // from UuidToStringA
};
} // namespace qv
