#pragma once

#include <string>
#include <vector>

// The paths of a driver's devices, in list order.
template <class Driver>
std::vector<std::string> paths_of (const Driver& driver)
{
    std::vector<std::string> paths;
    for (auto& d : driver)
        paths.push_back (static_cast<const std::string&> (*d));
    return paths;
}
