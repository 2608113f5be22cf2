#pragma once

#include "device/qv/object.h"
#include "device/qv/port.h"

#include <algorithm>
#include <cctype>
#include <deque>
#include <string>
#include <utility>

namespace qv
{
// The list of open interfaces, in order of arrival, kept current by the port's
// notification window. Interfaces present at construction are listed silently:
// the deriving class walks the list afterwards.
template <class R, class D>
class driver : public std::deque<reference<D>>
{
public:
    using port_type = port<R>;
    using handle_type = typename port_type::handle_type;
    using list_type = std::deque<reference<D>>;

    driver()
    {
        window.attach (hotplug<handle_type> { this, &arrived, &gone });
        // Each interface is opened before the next is looked up: the failure reported is
        // the first one in listing order.
        window.enumerate ([this] (std::string path) { add (std::move (path)); });
    }

    driver (const driver&) = delete;
    driver& operator= (const driver&) = delete;

    virtual void on_arrival (D&) {}
    virtual void on_removal (D&) {}

    // Opens and lists the interface at `path` unless it is listed already. An
    // interface that fails to open leaves the list as it was.
    void add (std::string path)
    {
        if constexpr (port_type::case_insensitive)
            for (auto& c : path)
                c = static_cast<char> (std::tolower (static_cast<unsigned char> (c)));

        if (std::any_of (this->begin(), this->end(), [&] (const reference<D>& d) { return *d == path; }))
            return;

        reference<D> opened (new D (path, window));
        this->push_back (opened);
        on_arrival (*opened);
        opened->on_attach();
    }

    // Drops the first listed device whose handle is `key`; an unknown key does nothing.
    void remove (handle_type key)
    {
        auto found = std::find_if (this->begin(), this->end(), [&] (const reference<D>& d) { return d->handle == key; });
        if (found == this->end())
            return;

        D* gone_device = found->get();
        gone_device->on_detach();
        on_removal (*gone_device);

        // on_removal may have run the message loop; find the entry again.
        found = std::find_if (this->begin(), this->end(), [&] (const reference<D>& d) { return d.get() == gone_device; });
        if (found != this->end())
            this->erase (found);
    }

private:
    static bool arrived (void* self, std::string path)
    {
        try
        {
            static_cast<driver*> (self)->add (std::move (path));
            return true;
        }
        catch (...)
        {
            return false;
        }
    }

    static bool gone (void* self, handle_type key)
    {
        try
        {
            static_cast<driver*> (self)->remove (key);
            return true;
        }
        catch (...)
        {
            return false;
        }
    }

    // Declared before the window so that it runs after it: the window and its
    // registrations go first, then the devices are dropped from the back to the front.
    struct release_from_back
    {
        list_type& list;
        ~release_from_back()
        {
            while (! list.empty())
                list.pop_back();
        }
    };

    release_from_back release { *this };
    typename port_type::window window;
};
} // namespace qv
