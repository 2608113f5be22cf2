#pragma once

// The process's open descriptors, to see that what was opened has been closed.

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <vector>

// In increasing order; the listing's own is left out.
inline std::vector<int> open_descriptors()
{
    std::vector<int> fds;
    if (DIR* dir = ::opendir ("/proc/self/fd"))
    {
        while (const dirent* entry = ::readdir (dir))
            if (entry->d_name[0] != '.' && std::atoi (entry->d_name) != ::dirfd (dir))
                fds.push_back (std::atoi (entry->d_name));
        ::closedir (dir);
    }
    std::sort (fds.begin(), fds.end());
    return fds;
}
