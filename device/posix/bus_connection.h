#pragma once

// The virtual bus's side of the Linux port: an interface is a connected socket to its
// veltrano-virtual host; its removal is the hang-up on that socket.

#include "native_port.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qv::bus_connection
{
// A request without a reply within this time fails with ETIMEDOUT.
constexpr int reply_timeout_ms = 2000;

int open (const std::string& path);
// The handle's hang-up is reported to `link`'s driver; returns the notification.
int watch (int handle, const std::shared_ptr<port<os_result>::window::link>& link);
void unwatch (int notification);
void close (int handle);
void control (int handle, std::uint32_t code, const void* in, std::uint32_t in_size, void* out,
              std::uint32_t out_size);
} // namespace qv::bus_connection
