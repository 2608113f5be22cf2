#include "ctl/console.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdio>
#endif

namespace ctl::console
{
namespace
{
#if defined(_WIN32)
void write (DWORD which, const std::string& text)
{
    // Without a handle (a stream closed by the caller) both writes fail, and nothing is lost
    // that could have been shown.
    const HANDLE h = GetStdHandle (which);
    DWORD mode = 0, written = 0;
    if (GetConsoleMode (h, &mode))
    {
        const int n = MultiByteToWideChar (CP_UTF8, 0, text.data(), static_cast<int> (text.size()), nullptr, 0);
        std::wstring wide (static_cast<std::size_t> (n), L'\0');
        MultiByteToWideChar (CP_UTF8, 0, text.data(), static_cast<int> (text.size()), wide.data(), n);
        WriteConsoleW (h, wide.data(), static_cast<DWORD> (wide.size()), &written, nullptr);
    }
    else
        WriteFile (h, text.data(), static_cast<DWORD> (text.size()), &written, nullptr);
}
#else
void write (std::FILE* stream, const std::string& text)
{
    std::fwrite (text.data(), 1, text.size(), stream);
    std::fflush (stream);
}
#endif
} // namespace

#if defined(_WIN32)
void out (const std::string& text) { write (STD_OUTPUT_HANDLE, text); }
void err (const std::string& text) { write (STD_ERROR_HANDLE, text); }
#else
void out (const std::string& text) { write (stdout, text); }
void err (const std::string& text) { write (stderr, text); }
#endif
} // namespace ctl::console
