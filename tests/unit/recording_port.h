#pragma once

// A port for the unit tests: a pretend system of interfaces that records, in order,
// what the qv layers ask of it (listing, open, watch, control requests, unwatch, close)
// and the events the driver raises. Two result types select an exact and a
// case-insensitive identity rule.

#include "device/qv/driver.h"
#include "device/qv/veltrano.h"
#include "tests/support/paths_of.h"
#include "tests/support/thrown_code.h"
#include "veltrano_model.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

enum exact_result : std::uint32_t {};
enum folded_result : std::uint32_t {};

// Answers as the hardware does, malformed requests included: the shared device model.
struct pretend_interface
{
    pretend_interface() { vv_model_init (&model); }

    vv_model model;
    std::uint32_t open_failure = 0;  // non-zero: open throws it
    std::uint32_t watch_failure = 0; // non-zero: watch throws it
};

struct recorded_request
{
    std::uint32_t code;
    std::vector<std::uint8_t> in;
    std::uint32_t out_size;
};

struct pretend_system
{
    std::vector<std::string> present;               // listing order
    std::map<std::string, pretend_interface> interfaces;
    std::vector<std::string> log;
    std::vector<recorded_request> requests;
    std::map<int, std::string> open_handles;
    int next_handle = 100;
    qv::hotplug<int> events;

    static pretend_system& get() { static pretend_system system; return system; }

    void reset() { *this = pretend_system(); }

    // What the system reports; false when nothing was attached or the handling threw.
    bool arrive (const std::string& path) { return events.attached() && events.arrival (events.driver, path); }
    bool hang_up (int handle) { return events.attached() && events.removal (events.driver, handle); }

    std::vector<std::string> take_log() { return std::exchange (log, {}); }
};

template <class R, bool Fold>
struct recording_port
{
    using handle_type = int;
    static constexpr handle_type invalid_handle = -1;
    using notification_type = int;
    static constexpr notification_type no_notification = -1;
    static constexpr bool case_insensitive = Fold;

    class window
    {
    public:
        window() { sys().log.push_back ("window"); }
        ~window() { sys().events = {}; sys().log.push_back ("~window"); }
        void attach (const qv::hotplug<int>& events) { sys().events = events; }
        void enumerate (const std::function<void (std::string)>& each)
        {
            for (auto& path : sys().present)
            {
                sys().log.push_back ("list " + path);
                each (path);
            }
        }
    };

    static pretend_system& sys() { return pretend_system::get(); }

    static handle_type open (const std::string& path)
    {
        sys().log.push_back ("open " + path);
        auto found = sys().interfaces.find (path);
        if (found == sys().interfaces.end())
            throw R (2);
        if (found->second.open_failure != 0)
            throw R (found->second.open_failure);
        const int handle = sys().next_handle++;
        sys().open_handles[handle] = path;
        return handle;
    }

    static notification_type watch (handle_type handle, window&)
    {
        sys().log.push_back ("watch " + std::to_string (handle));
        if (const auto failure = sys().interfaces[sys().open_handles[handle]].watch_failure; failure != 0)
            throw R (failure);
        return handle + 1000;
    }

    static void unwatch (notification_type notification) { sys().log.push_back ("unwatch " + std::to_string (notification)); }

    static void close (handle_type handle)
    {
        sys().log.push_back ("close " + std::to_string (handle));
        sys().open_handles.erase (handle);
    }

    static void control (handle_type handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                         void* out, std::uint32_t out_size)
    {
        const auto* bytes = static_cast<const std::uint8_t*> (in);
        sys().requests.push_back ({ code, std::vector<std::uint8_t> (bytes, bytes + in_size), out_size });
        sys().log.push_back ("control " + std::to_string (handle));

        // The system's codes for a stalled request and for an interface that is gone.
        auto& device = sys().interfaces.at (sys().open_handles.at (handle));
        std::vector<std::uint8_t> buffer (std::max (in_size, out_size));
        std::copy (bytes, bytes + in_size, buffer.begin());
        std::uint32_t answered = 0, changed = 0;
        switch (vv_model_request (&device.model, code, buffer.data(), in_size, out_size, &answered, &changed))
        {
            case VV_OK: std::copy (buffer.begin(), buffer.begin() + answered, static_cast<std::uint8_t*> (out)); return;
            case VV_VANISHED: throw R (1167);
            default: throw R (31);
        }
    }
};

template <>
struct qv::port<exact_result> : recording_port<exact_result, false> {};
template <>
struct qv::port<folded_result> : recording_port<folded_result, true> {};

// A device that records the events it receives and its destruction.
template <class R>
class recorded_device : public qv::veltrano<R>
{
public:
    using qv::veltrano<R>::veltrano;
    ~recorded_device() override { pretend_system::get().log.push_back ("destroyed " + name()); }
    void on_attach() override { pretend_system::get().log.push_back ("on_attach " + name()); }
    void on_detach() override { qv::veltrano<R>::on_detach(); pretend_system::get().log.push_back ("on_detach " + name()); }
    std::string name() const { return static_cast<const std::string&> (*this); }
};

template <class R>
class recorded_driver : public qv::driver<R, recorded_device<R>>
{
public:
    void on_arrival (recorded_device<R>& d) override { pretend_system::get().log.push_back ("on_arrival " + d.name()); }
    void on_removal (recorded_device<R>& d) override { pretend_system::get().log.push_back ("on_removal " + d.name()); }
};
