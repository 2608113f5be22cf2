#pragma once

// The machine-readable state of a virtual interface, for tests and scripts.

#include "veltrano_model.h"

#include <string>

// Writes the state to `path` through a new temporary file and a rename, so a reader
// never sees half a file. Returns false (errno set) when it could not.
bool write_state_file (const std::string& path, const std::string& name, const std::string& socket_path,
                       const vv_model& model);

std::string version_text (uint32_t word);
