#pragma once

// The command line of veltrano-virtual.

#include "veltrano_model.h"

#include <string>

struct options
{
    std::string name;       // socket name in the bus folder
    std::string bus;        // empty: the configured bus folder
    std::string state_file; // empty: none
    vv_model model {};      // versions, block and faults as given
    bool help = false;
};

// Fills `out` from argv; on a bad command line returns false with the reason in `error`.
bool parse_options (int argc, char** argv, options& out, std::string& error);

std::string usage_text();
