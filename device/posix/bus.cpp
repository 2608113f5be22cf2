#include "bus.h"

#include "device/qv/result.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::bus
{
std::string configured_folder()
{
    if (const char* bus = std::getenv ("KELTO_VIRTUAL_BUS"); bus != nullptr && *bus != '\0')
        return bus;
    if (const char* runtime = std::getenv ("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime != '\0')
        return std::string (runtime) + "/kelto-veltrano";
    return "/tmp/kelto-veltrano-" + std::to_string (geteuid());
}

std::string open_folder (const std::string& path)
{
    if (::mkdir (path.c_str(), 0700) != 0 && errno != EEXIST)
        throw os_result (errno);

    // lstat: a symbolic link planted in a shared /tmp must not redirect us.
    struct stat info {};
    if (::lstat (path.c_str(), &info) != 0)
        throw os_result (errno);
    if (! S_ISDIR (info.st_mode))
        throw os_result (ENOTDIR);
    if (info.st_uid != geteuid())
        throw os_result (EPERM);
    if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw os_result (EACCES);
    return path;
}

bool is_interface_name (const std::string& name)
{
    return ! name.empty() && name[0] != '.' && name.find ('/') == std::string::npos;
}
} // namespace qv::bus
