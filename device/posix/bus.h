#pragma once

// The bus folder where virtual interfaces live, shared by the port and the
// veltrano-virtual host: $KELTO_VIRTUAL_BUS, else $XDG_RUNTIME_DIR/kelto-veltrano,
// else /tmp/kelto-veltrano-<uid>.

#include <string>

namespace qv::bus
{
// The folder's path from the environment, without touching the file system.
std::string configured_folder();

// Creates the folder (mode 0700) if it is missing and checks it: it must be a real
// directory owned by this user that nobody else may write. Returns its path;
// throws the errno value as qv::os_result (EPERM: foreign owner, EACCES: writable
// by group or others, ENOTDIR: not a directory).
std::string open_folder (const std::string& path);

// Whether `name` can name an interface in the folder (not hidden, no separator).
bool is_interface_name (const std::string& name);
} // namespace qv::bus
