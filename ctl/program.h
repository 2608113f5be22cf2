#pragma once

#include <string>
#include <vector>

namespace ctl
{
// Runs one command line (the arguments after the program's name) and returns the exit
// status: 0 done, 1 an interface failed or none is there, 2 bad input.
int run (const std::vector<std::string>& args);
} // namespace ctl
