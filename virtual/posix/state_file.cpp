#include "state_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

std::string version_text (uint32_t word)
{
    return std::to_string ((word >> 24) & 0xFF) + "." + std::to_string ((word >> 16) & 0xFF) + "."
         + std::to_string ((word >> 8) & 0xFF);
}

bool write_state_file (const std::string& path, const std::string& name, const std::string& socket_path,
                       const vv_model& model)
{
    std::string text = "name " + name + "\npath " + socket_path + "\nfirmware "
                     + std::to_string (model.firmware[0]) + "." + std::to_string (model.firmware[1]) + "."
                     + std::to_string (model.firmware[2]) + "\ndriver " + version_text (model.driver_version)
                     + "\nblock";
    for (auto byte : model.block)
        text += " " + std::to_string (byte);
    text += "\nrequests " + std::to_string (model.answered) + "\n";

    // A name of its own, made new: a file or link planted beside PATH is never written through.
    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkstemp (temporary.data());
    if (fd < 0)
        return false;
    // A regular file takes it all at once; less is a full disk or the like.
    const bool written = ::write (fd, text.data(), text.size()) == static_cast<ssize_t> (text.size());
    const bool closed = ::close (fd) == 0;
    if (! written || ! closed || std::rename (temporary.c_str(), path.c_str()) != 0)
    {
        const int error = errno;
        ::unlink (temporary.c_str());
        errno = error;
        return false;
    }
    return true;
}
