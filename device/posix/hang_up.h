#pragma once

// The per-handle removal on Linux: a hang-up on an open interface's connection.

namespace qv
{
// Announces the removal of the device whose connection `fd` hung up, once.
void report_hang_up (int fd);

// Announces every hang-up that has happened but not been dispatched yet. The window
// calls it before an arrival, so that an interface replugged under the same name is
// not taken for the one still listed.
void report_pending_hang_ups();
} // namespace qv
