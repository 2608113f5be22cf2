#pragma once

// The per-handle removal of an interface on USB: udev says its device node left.

#include "native_port.h"

#include <memory>
#include <string>

namespace qv::usb_removal
{
// udev's word that the handle's node left is reported to `link`'s driver; returns the
// notification.
int watch (int handle, const std::shared_ptr<port<os_result>::window::link>& link);
void unwatch (int notification);

// Announces the removal of every watched handle on `node`.
void report (const std::string& node);

// Announces again the removals whose handling failed, so that an interface plugged in
// under the same node is not taken for the one still listed.
void report_pending();
} // namespace qv::usb_removal
