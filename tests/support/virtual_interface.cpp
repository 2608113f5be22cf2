#if ! defined(_WIN32)

#include "virtual_interface.h"

#include <juce_events/juce_events.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

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

bool is_socket (const std::string& path)
{
    struct stat info {};
    return ::lstat (path.c_str(), &info) == 0 && S_ISSOCK (info.st_mode);
}
} // namespace

temporary_bus::temporary_bus()
{
    char pattern[] = "/tmp/veltrano-test-XXXXXX";
    if (::mkdtemp (pattern) == nullptr)
        throw std::runtime_error ("mkdtemp failed");
    path = pattern;
    if (const char* old = std::getenv ("KELTO_VIRTUAL_BUS"))
    {
        previous = old;
        had_previous = true;
    }
    ::setenv ("KELTO_VIRTUAL_BUS", path.c_str(), 1);
}

temporary_bus::~temporary_bus()
{
    if (had_previous)
        ::setenv ("KELTO_VIRTUAL_BUS", previous.c_str(), 1);
    else
        ::unsetenv ("KELTO_VIRTUAL_BUS");
    const std::string command = "rm -rf '" + path + "'";
    [[maybe_unused]] const int ignored = std::system (command.c_str());
}

std::string virtual_interface::program() { return VELTRANO_VIRTUAL_PROGRAM; }

virtual_interface::virtual_interface (const std::string& folder, const std::string& name, std::vector<std::string> options,
                                      bool wait_until_plugged)
    : socket_path (folder + "/" + name)
{
    char pattern[] = "/tmp/veltrano-host-XXXXXX";
    if (::mkdtemp (pattern) == nullptr)
        throw std::runtime_error ("mkdtemp failed");
    work_folder = pattern;
    state_path = work_folder + "/state";
    output_path = work_folder + "/output";

    std::vector<std::string> args { program(), "--bus", folder, "--name", name, "--state-file", state_path };
    args.insert (args.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back (a.data());
    argv.push_back (nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init (&actions);
    posix_spawn_file_actions_addopen (&actions, 1, output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2 (&actions, 1, 2);
    const int spawned = ::posix_spawn (&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy (&actions);
    if (spawned != 0)
        throw std::runtime_error ("cannot start " + program());

    const auto deadline = clock::now() + std::chrono::seconds (5);
    while (wait_until_plugged && ! is_socket (socket_path))
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
    const std::string command = "rm -rf '" + work_folder + "'";
    [[maybe_unused]] const int ignored = std::system (command.c_str());
}

bool virtual_interface::running()
{
    if (pid <= 0)
        return false;
    int s = 0;
    if (::waitpid (pid, &s, WNOHANG) == pid)
    {
        status = WIFEXITED (s) ? WEXITSTATUS (s) : -1;
        pid = -1;
        return false;
    }
    return true;
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
    if (! running())
        return status;
    ::kill (pid, signal);
    if (wait_for_exit (5000) == -1 && running())
    {
        ::kill (pid, SIGKILL);
        ::waitpid (pid, nullptr, 0);
        pid = -1;
        status = -1;
    }
    return status;
}

std::vector<int> virtual_interface::block() const
{
    std::istringstream lines (state());
    for (std::string line; std::getline (lines, line);)
        if (line.rfind ("block ", 0) == 0)
        {
            std::istringstream values (line.substr (6));
            std::vector<int> bytes;
            for (int v; values >> v;)
                bytes.push_back (v);
            return bytes;
        }
    return {};
}

std::string virtual_interface::state() const { return read_file (state_path); }
std::string virtual_interface::output() const { return read_file (output_path); }

std::vector<std::string> block_option (const std::vector<int>& block)
{
    std::string values;
    for (int v : block)
        values += (values.empty() ? "" : " ") + std::to_string (v);
    return { "--block", values };
}

#endif
