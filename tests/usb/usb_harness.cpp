// Runs a program, unmodified, against an interface emulated on USB: the end-to-end
// tests' plugged-in interface. The program is this process's child, so that it shares
// the testbed; the device model answers its requests here.
//
//   usb-harness STATE COMMANDS PROGRAM [ARGUMENTS...]     (under umockdev-wrapper)
//
// STATE gets "block b0 ... b15" after every change the program makes. COMMANDS is a
// FIFO that takes "pull" (the interface leaves), "plug" (an interface arrives, as a new
// device on the bus) and "hold" (the next request gets no answer, until the interface
// is pulled or the request times out). Ends with the program's exit code; SIGTERM ends both.
#include "tests/usb/emulated_usb.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t stop = 0;

void write_state (const std::string& path, const std::vector<int>& block)
{
    const std::string next = path + ".next";
    if (FILE* f = std::fopen (next.c_str(), "w"))
    {
        std::fputs ("block", f);
        for (int b : block)
            std::fprintf (f, " %d", b);
        std::fputs ("\n", f);
        std::fclose (f);
        std::rename (next.c_str(), path.c_str());
    }
}

emulated_device& plug (emulated_usb& usb, const std::string& state, bool announce)
{
    auto& device = usb.plug ("1.1.1", test_vendor, test_product, announce);
    device.state ([state] (emulated_device::record& r) {
        r.on_change = [state] (const std::vector<int>& block) { write_state (state, block); };
    });
    write_state (state, device.block());
    return device;
}

pid_t start (char** argv)
{
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0)
    {
        // Exec at once: the preload's locks may be held by another thread at the fork.
        ::prctl (PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent)
            ::_exit (1);
        ::execv (argv[0], argv);
        ::_exit (127);
    }
    return child;
}
} // namespace

int main (int argc, char** argv)
{
    if (argc < 4)
    {
        std::fprintf (stderr, "usage: %s STATE COMMANDS PROGRAM [ARGUMENTS...]\n", argv[0]);
        return 2;
    }
    const std::string state = argv[1];
    std::signal (SIGTERM, [] (int) { stop = 1; });
    std::signal (SIGINT, [] (int) { stop = 1; });

    emulated_usb usb;
    emulated_device* current = &plug (usb, state, false);
    // Read and write: the FIFO stays open whoever writes to it.
    const int commands = ::open (argv[2], O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (commands < 0)
    {
        std::perror (argv[2]);
        return 2;
    }
    const pid_t program = start (argv + 3);
    if (program < 0)
        return 2;

    std::string pending;
    int status = 0;
    while (::waitpid (program, &status, WNOHANG) == 0)
    {
        if (stop)
        {
            ::kill (program, SIGTERM);
            ::waitpid (program, &status, 0);
            break;
        }
        pollfd p { commands, POLLIN, 0 };
        if (::poll (&p, 1, 50) <= 0)
            continue;
        char chunk[64];
        const ssize_t n = ::read (commands, chunk, sizeof chunk);
        if (n > 0)
            pending.append (chunk, std::size_t (n));
        for (auto end = pending.find ('\n'); end != std::string::npos; end = pending.find ('\n'))
        {
            const auto command = pending.substr (0, end);
            pending.erase (0, end + 1);
            if (command == "pull" && current != nullptr)
            {
                usb.unplug (*current);
                current = nullptr;
            }
            else if (command == "plug" && current == nullptr)
                current = &plug (usb, state, true);
            else if (command == "hold" && current != nullptr)
                current->fail_next (emulated_device::fault::no_answer);
            else
                std::fprintf (stderr, "usb-harness: \"%s\" is not a command here\n", command.c_str());
        }
    }
    return WIFEXITED (status) ? WEXITSTATUS (status) : 128 + WTERMSIG (status);
}
