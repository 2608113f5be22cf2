#include "bus.h"

#include "device/qv/result.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace qv::bus
{
namespace
{
[[noreturn]] void fail (int code) { throw os_result (static_cast<std::uint32_t> (code)); }

// The address of whatever `fd` stands for, with `rest` after it: short whatever
// the real path is, and it cannot lead anywhere else.
sockaddr_un address_through (int fd, const std::string& rest)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const int length = std::snprintf (address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d%s", fd, rest.c_str());
    if (std::size_t (length) >= sizeof address.sun_path) // a failure (-1) is far beyond too
        fail (ENAMETOOLONG);
    return address;
}
} // namespace

std::string configured_folder()
{
    if (const char* bus = std::getenv ("KELTO_VIRTUAL_BUS"); bus != nullptr && *bus != '\0')
        return bus;
    if (const char* runtime = std::getenv ("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime != '\0')
        return std::string (runtime) + "/kelto-veltrano";
    return "/tmp/kelto-veltrano-" + std::to_string (geteuid());
}

folder::folder (std::string path) : where (std::move (path))
{
    // "LINK/" would make the system follow LINK whatever the flags say.
    while (where.size() > 1 && where.back() == '/')
        where.pop_back();
    if (::mkdir (where.c_str(), 0700) != 0 && errno != EEXIST)
        fail (errno);

    fd = ::open (where.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        fail (errno); // ENOTDIR for a symbolic link too: O_DIRECTORY is checked first
    struct stat info {};
    const int code = ::fstat (fd, &info) != 0      ? errno
                   : ! S_ISDIR (info.st_mode)       ? ENOTDIR
                   : info.st_uid != ::geteuid()     ? EPERM
                   : (info.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? EACCES
                                                     : 0;
    if (code != 0)
    {
        ::close (fd);
        fd = -1;
        fail (code);
    }
}

folder::~folder()
{
    if (fd >= 0)
        ::close (fd);
}

folder::folder (folder&& other) noexcept : where (std::move (other.where)), fd (other.fd) { other.fd = -1; }

folder& folder::operator= (folder&& other) noexcept
{
    if (this != &other)
    {
        if (fd >= 0)
            ::close (fd);
        where = std::move (other.where);
        fd = other.fd;
        other.fd = -1;
    }
    return *this;
}

std::string folder::inside (const std::string& name) const { return address_through (fd, "/" + name).sun_path; }

int folder::connect (int socket_fd, const std::string& name) const
{
    const int file = ::openat (fd, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return -1;
    struct stat info {};
    int result = -1;
    if (::fstat (file, &info) != 0)
        ; // errno tells
    else if (! S_ISSOCK (info.st_mode))
        errno = ECONNREFUSED;
    else
    {
        const auto address = address_through (file, "");
        result = ::connect (socket_fd, reinterpret_cast<const sockaddr*> (&address), sizeof address);
    }
    const int error = errno;
    ::close (file);
    errno = error;
    return result;
}

bool is_interface_name (const std::string& name)
{
    return ! name.empty() && name[0] != '.' && name.find ('/') == std::string::npos;
}

bool peer_is_own_user (int socket_fd)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt (socket_fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}
} // namespace qv::bus
