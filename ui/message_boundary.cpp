#include "ui/message_boundary.h"
#include "ui/error_report.h"

void (*message_boundary::report) (std::exception_ptr) = report_escaped_failure;

#if JUCE_WINDOWS
#include <windows.h>

namespace
{
// The window's own procedure, kept on the window itself.
const wchar_t* const inner_procedure = L"kelto.veltrano.inner_procedure";

LRESULT CALLBACK guarded_procedure (HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam)
{
    const auto inner = reinterpret_cast<WNDPROC> (GetPropW (hwnd, inner_procedure));
    if (message == WM_NCDESTROY)
    {
        RemovePropW (hwnd, inner_procedure);
        SetWindowLongPtrW (hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR> (inner));
    }
    // Called directly, not through CallWindowProcW, so that no system frame lies between
    // the throw and this catch.
    try
    {
        return inner (hwnd, message, wparam, lparam);
    }
    catch (...)
    {
        message_boundary::report (std::current_exception());
        return 0;
    }
}
} // namespace

void message_boundary::guard (void* native)
{
    const auto hwnd = static_cast<HWND> (native);
    // Only a Unicode window hands out its procedure as a plain address that can be called.
    if (hwnd == nullptr || ! IsWindowUnicode (hwnd) || GetPropW (hwnd, inner_procedure) != nullptr)
        return;
    SetPropW (hwnd, inner_procedure, reinterpret_cast<HANDLE> (GetWindowLongPtrW (hwnd, GWLP_WNDPROC)));
    SetWindowLongPtrW (hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR> (&guarded_procedure));
}
#else
void message_boundary::guard (void*) {}
#endif

message_boundary::message_boundary (juce::Component& top_level) : watched (top_level)
{
    watched.addComponentListener (this);
    componentParentHierarchyChanged (watched);
}

message_boundary::~message_boundary() { watched.removeComponentListener (this); }

// A window that moves to the desktop, or is given a new native window, passes here.
void message_boundary::componentParentHierarchyChanged (juce::Component&)
{
    if (auto* peer = watched.getPeer())
        guard (peer->getNativeHandle());
}
