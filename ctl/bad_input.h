#pragma once

#include <stdexcept>
#include <string>

namespace ctl
{
// A command line that cannot be carried out as typed; nothing has been written. Exit 2.
struct bad_input : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// Nothing to work on, or an interface that cannot take the command; nothing has been
// written. Exit 1, as for a failed request.
struct unavailable : std::runtime_error
{
    using std::runtime_error::runtime_error;
};
} // namespace ctl
