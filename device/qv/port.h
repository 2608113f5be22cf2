#pragma once

// What a port gives the portable layers. The layers are templates over the result
// type R and reach the system only through qv::port<R>, which each port specialises
// for qv::os_result in device/<port>/native_port.h (win32 or posix, picked by CMake);
// the unit tests specialise it for result types of their own to record what the
// layers ask of the system. Class names and members are the same in both ports;
// only the native handle types differ.
//
//   template <> struct port<os_result>
//   {
//       using handle_type = ...;               // HANDLE; a socket descriptor on Linux
//       static const handle_type invalid_handle;
//       using notification_type = ...;         // HDEVNOTIFY; the watched descriptor on Linux
//       static const notification_type no_notification;   // all bits set
//       static constexpr bool case_insensitive = ...;    // identities are lower-cased first
//
//       class window;   // the driver's notification endpoint (below)
//
//       // Exclusive open of an interface path; throws R.
//       static handle_type open (const std::string& path);
//       // Asks to be told, through `w`, when this very handle goes away; throws R.
//       static notification_type watch (handle_type, window& w);
//       static void unwatch (notification_type);           // results unchecked
//       static void close (handle_type);                   // results unchecked
//       // The one primitive every request goes through: send `code` with `in` and
//       // receive up to `out_size` bytes into `out` (DeviceIoControl's shape); throws R.
//       static void control (handle_type, std::uint32_t code, const void* in, std::uint32_t in_size,
//                            void* out, std::uint32_t out_size);
//   };
//
//   class port<os_result>::window
//   {
//       window();                            // acquires the machinery; throws R
//       ~window();                           // releases it; no event is raised after it
//       void attach (const hotplug<handle_type>&);   // from now on events reach the driver
//       // Hands each present interface to `each` in listing order, one at a time: the
//       // next is looked up only after `each` returned. Throws R, and lets what `each`
//       // throws through, which ends the listing.
//       void enumerate (const std::function<void (std::string)>& each);
//   };
//
// Events are delivered on the thread that built the window (the JUCE message thread).

#include <functional>
#include <string>

namespace qv
{
template <class R>
struct port; // specialised by each port

// How a port's window reaches the driver without knowing its type. Each call returns
// false when the driver's handling threw; the exception has been dropped by then.
template <class Handle>
struct hotplug
{
    void* driver = nullptr;
    bool (*arrival) (void* driver, std::string path) = nullptr;
    bool (*removal) (void* driver, Handle key) = nullptr;

    bool attached() const noexcept { return driver != nullptr; }
};
} // namespace qv
