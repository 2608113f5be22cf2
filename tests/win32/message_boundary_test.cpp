// A failure thrown inside a guarded window procedure stops there and is handed on to be
// reported; every other message passes through with its answer. (JUCE's own windows need
// a display, which these tests do not have, so a plain window stands in.)
#include "device/device.h"
#include "tests/support/thrown_code.h"
#include "ui/message_boundary.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace
{
constexpr std::uint32_t device_gone = 1167;
std::vector<std::int64_t> reported;

// Fails on a click as a click on an interface that was pulled out does.
LRESULT CALLBACK clicked_control (HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam)
{
    if (message == WM_LBUTTONUP)
        throw qv::os_result (device_gone);
    return message == WM_USER ? 42 : DefWindowProcW (hwnd, message, wparam, lparam);
}
} // namespace

TEST (message_boundary, a_failure_stops_at_the_window_procedure_and_is_reported)
{
    const auto saved = message_boundary::report;
    message_boundary::report = [] (std::exception_ptr failure) {
        reported.push_back (thrown_code ([&] { std::rethrow_exception (failure); }));
    };
    WNDCLASSEXW description { sizeof description };
    description.lpfnWndProc = clicked_control;
    description.lpszClassName = L"message_boundary_test";
    ASSERT_NE (RegisterClassExW (&description), 0);
    const HWND hwnd = CreateWindowExW (0, description.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                       nullptr, nullptr);
    ASSERT_NE (hwnd, nullptr);

    message_boundary::guard (hwnd);
    message_boundary::guard (hwnd); // a window is guarded once, whoever asks again
    EXPECT_EQ (SendMessageW (hwnd, WM_USER, 0, 0), 42);
    EXPECT_EQ (SendMessageW (hwnd, WM_LBUTTONUP, 0, 0), 0);
    EXPECT_EQ (reported, std::vector<std::int64_t> { device_gone });
    DestroyWindow (hwnd);
    message_boundary::report = saved;
}
