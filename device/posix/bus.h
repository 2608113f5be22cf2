#pragma once

// The bus folder where virtual interfaces live, shared by the port and the
// veltrano-virtual host: $KELTO_VIRTUAL_BUS, else $XDG_RUNTIME_DIR/kelto-veltrano,
// else /tmp/kelto-veltrano-<uid>.

#include <string>

namespace qv::bus
{
// The folder's path from the environment, without touching the file system.
std::string configured_folder();

// The bus folder, opened once and checked on that descriptor. Everything after the
// check goes through the descriptor, so that a folder swapped for another (or for a
// symbolic link) under the same path is never used.
class folder
{
public:
    folder() = default;
    // Creates the folder (mode 0700) if it is missing, opens it without following a
    // symbolic link and checks it: a directory owned by this user that nobody else
    // may write. Throws the errno value as qv::os_result (ENOTDIR: not a directory or
    // a symbolic link, EPERM: foreign owner, EACCES: writable by group or others).
    explicit folder (std::string path);
    ~folder();
    folder (folder&& other) noexcept;
    folder& operator= (folder&& other) noexcept;
    folder (const folder&) = delete;
    folder& operator= (const folder&) = delete;

    bool is_open() const noexcept { return fd >= 0; }
    // As given, without trailing slashes: interfaces are path() + "/" + name.
    const std::string& path() const noexcept { return where; }
    int descriptor() const noexcept { return fd; }

    // `name` inside the checked folder, for calls that take nothing but a path (bind).
    std::string inside (const std::string& name) const;

    // Connects the stream socket `socket_fd` to the socket `name` in this folder; like
    // connect(2), 0 or -1 with errno set (ECONNREFUSED for what is not a socket). The
    // socket file is opened first (no symbolic link followed), so that a name of any
    // length can be reached.
    int connect (int socket_fd, const std::string& name) const;

private:
    std::string where;
    int fd = -1;
};

// Whether `name` can name an interface in the folder (not hidden, no separator).
bool is_interface_name (const std::string& name);

// Whether the peer of a connected Unix socket runs as this process's user.
bool peer_is_own_user (int socket_fd);
} // namespace qv::bus
