// Starts the panel and measures, from just before the process is created, how long until
// its window is on the X display and painted: the window is found by its title and a
// pixel of its title bar has taken the window colour. Then the panel is ended and its
// peak resident memory read from the kernel's accounting of the reaped child.
//
// Usage: startup_probe PROGRAM [ARGS...]   (on $DISPLAY; prints "first_paint_ms peak_kb")
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
    const char* const title = "Kelto Veltrano";
    // The skin's window colour, drawn behind the title image.
    const unsigned long window_colour = 0x3A3E43;

    Window find_viewable (Display* display, Window parent)
    {
        Window root, up, *children = nullptr;
        unsigned int count = 0;
        if (! XQueryTree (display, parent, &root, &up, &children, &count))
            return 0;
        Window found = 0;
        for (unsigned int i = 0; i < count && found == 0; ++i)
        {
            // JUCE sets the name as UTF-8 text, which XFetchName does not hand out.
            XTextProperty name {};
            XWindowAttributes attributes;
            if (XGetWMName (display, children[i], &name) && name.value != nullptr
                && std::string (reinterpret_cast<const char*> (name.value), name.nitems) == title
                && XGetWindowAttributes (display, children[i], &attributes)
                && attributes.map_state == IsViewable)
                found = children[i];
            if (name.value != nullptr)
                XFree (name.value);
            if (found == 0)
                found = find_viewable (display, children[i]);
        }
        if (children != nullptr)
            XFree (children);
        return found;
    }

    bool painted (Display* display, Window window)
    {
        XImage* image = XGetImage (display, window, 5, 5, 1, 1, AllPlanes, ZPixmap);
        if (image == nullptr)
            return false;
        const unsigned long pixel = XGetPixel (image, 0, 0) & 0xFFFFFF;
        XDestroyImage (image);
        return pixel == window_colour;
    }

    int ignore_errors (Display*, XErrorEvent*) { return 0; }   // windows vanish while we look
}

int main (int argc, char** argv)
{
    if (argc < 2)
    {
        std::fprintf (stderr, "usage: %s PROGRAM [ARGS...]\n", argv[0]);
        return 2;
    }
    Display* display = XOpenDisplay (nullptr);
    if (display == nullptr)
    {
        std::fprintf (stderr, "no X display\n");
        return 2;
    }
    XSetErrorHandler (ignore_errors);

    const auto start = std::chrono::steady_clock::now();
    const pid_t panel = fork();
    if (panel == 0)
    {
        execv (argv[1], argv + 1);
        _exit (127);
    }

    double first_paint_ms = -1;
    const auto deadline = start + std::chrono::seconds (20);
    while (std::chrono::steady_clock::now() < deadline)
    {
        if (waitpid (panel, nullptr, WNOHANG) == panel)
        {
            std::fprintf (stderr, "the panel ended before it painted\n");
            return 1;
        }
        const Window window = find_viewable (display, DefaultRootWindow (display));
        if (window != 0 && painted (display, window))
        {
            first_paint_ms = std::chrono::duration<double, std::milli> (std::chrono::steady_clock::now() - start).count();
            break;
        }
        std::this_thread::sleep_for (std::chrono::microseconds (500));
    }

    // Let it settle, so that the peak covers the idle window too, then end it.
    std::this_thread::sleep_for (std::chrono::milliseconds (500));
    kill (panel, SIGTERM);
    int status = 0;
    rusage usage {};
    wait4 (panel, &status, 0, &usage);
    XCloseDisplay (display);

    if (first_paint_ms < 0)
    {
        std::fprintf (stderr, "no painted window within 20 s\n");
        return 1;
    }
    std::printf ("%.1f %ld\n", first_paint_ms, usage.ru_maxrss);
    return 0;
}
