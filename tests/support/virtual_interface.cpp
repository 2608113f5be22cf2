#if ! defined(_WIN32)

#include "virtual_interface.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
using clock = std::chrono::steady_clock;

std::string read_file (const std::string& path)
{
    std::ifstream in (path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string temporary_folder (const char* prefix)
{
    std::string pattern = std::string ("/tmp/veltrano-") + prefix + "-XXXXXX";
    if (::mkdtemp (pattern.data()) == nullptr)
        throw std::runtime_error ("mkdtemp failed");
    return pattern;
}

void remove_folder (const std::string& path)
{
    [[maybe_unused]] const int ignored = std::system (("rm -rf '" + path + "'").c_str());
}
} // namespace

temporary_bus::temporary_bus() : path (temporary_folder ("test"))
{
    if (const char* old = std::getenv ("KELTO_VIRTUAL_BUS"))
        previous = old;
    ::setenv ("KELTO_VIRTUAL_BUS", path.c_str(), 1);
}

temporary_bus::~temporary_bus()
{
    if (previous)
        ::setenv ("KELTO_VIRTUAL_BUS", previous->c_str(), 1);
    else
        ::unsetenv ("KELTO_VIRTUAL_BUS");
    remove_folder (path);
}

virtual_interface::virtual_interface (const std::string& folder, const std::string& name, std::vector<std::string> options,
                                      bool wait_until_plugged)
    : socket_path (folder + "/" + name), work_folder (temporary_folder ("host"))
{
    state_path = work_folder + "/state";
    output_path = work_folder + "/output";
    std::vector<std::string> args { VELTRANO_VIRTUAL_PROGRAM, "--bus", folder, "--name", name, "--state-file", state_path };
    args.insert (args.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back (a.data());
    argv.push_back (nullptr);

    // The host goes with this process, however it ends: the kernel sends SIGTERM (its
    // unplug) when the forking thread does. A parent that died before prctl took effect
    // is seen by getppid. After fork, only system calls that no preload wraps (umockdev's
    // wraps open and close): other threads may hold its locks.
    const int out = ::open (output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const pid_t parent = ::getpid();
    pid = out < 0 ? -1 : ::fork();
    if (pid == 0)
    {
        if (::prctl (PR_SET_PDEATHSIG, SIGTERM) == 0 && ::getppid() == parent && ::dup2 (out, 1) == 1
            && ::dup2 (1, 2) == 2)
            ::execv (argv[0], argv.data());
        ::_exit (127);
    }
    if (out >= 0)
        ::close (out);
    if (pid < 0)
        throw std::runtime_error ("cannot start veltrano-virtual");

    const auto deadline = clock::now() + std::chrono::seconds (5);
    struct stat info {};
    while (wait_until_plugged && ! (::lstat (socket_path.c_str(), &info) == 0 && S_ISSOCK (info.st_mode)))
    {
        if (! running() || clock::now() > deadline)
        {
            unplug();
            throw std::runtime_error ("veltrano-virtual did not plug in: " + output());
        }
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    }
}

virtual_interface::~virtual_interface()
{
    unplug();
    remove_folder (work_folder);
}

bool virtual_interface::running()
{
    int s = 0;
    if (pid > 0 && ::waitpid (pid, &s, WNOHANG) == pid)
    {
        status = WIFEXITED (s) ? WEXITSTATUS (s) : -1;
        pid = -1;
    }
    return pid > 0;
}

int virtual_interface::wait_for_exit (int ms)
{
    const auto deadline = clock::now() + std::chrono::milliseconds (ms);
    while (running())
    {
        if (clock::now() > deadline)
            return -1;
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    }
    return status;
}

int virtual_interface::unplug (int signal)
{
    if (running())
        ::kill (pid, signal);
    if (wait_for_exit (5000) == -1 && running())
    {
        ::kill (pid, SIGKILL);
        ::waitpid (pid, nullptr, 0);
        pid = -1;
    }
    return status;
}

std::vector<int> virtual_interface::block() const
{
    const auto text = read_file (state_path);
    const auto at = text.find ("\nblock ");
    std::istringstream values (at == std::string::npos ? "" : text.substr (at + 7, text.find ('\n', at + 1) - at - 7));
    std::vector<int> bytes;
    for (int v; values >> v;)
        bytes.push_back (v);
    return bytes;
}

std::string virtual_interface::output() const { return read_file (output_path); }

void virtual_interface::hold_until_killed (const std::string& folder)
{
    virtual_interface held (folder, "held");
    remove_folder (held.work_folder); // nobody reads it, and this process never gets to
    std::printf ("%d\n", static_cast<int> (held.process()));
    std::fflush (stdout);
    for (;;)
        ::pause();
}

std::vector<std::string> block_option (const std::vector<int>& block)
{
    std::string values;
    for (int v : block)
        values += (values.empty() ? "" : " ") + std::to_string (v);
    return { "--block", values };
}

#endif
