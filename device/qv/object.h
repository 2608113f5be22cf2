#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace qv
{
// Root of the reference-counted objects; deleted by the reference that drops the
// count to zero.
class object
{
public:
    object() = default;
    object (const object&) = delete;
    object& operator= (const object&) = delete;
    virtual ~object() = default;

    std::atomic<std::uint32_t> count { 0 };
};

// Intrusive counted pointer. A null reference touches nothing.
template <class T>
class reference
{
public:
    reference() noexcept = default;
    reference (T* target) noexcept : target (target) { up (target); }
    reference (const reference& other) noexcept : reference (other.target) {}
    reference (reference&& other) noexcept : target (std::exchange (other.target, nullptr)) {}

    template <class U>
    reference (const reference<U>& other) noexcept : reference (other.get()) {}

    ~reference() { down (target); }

    // The new target is counted up before the old one is counted down, so assigning
    // an object to a reference that already holds it never deletes it.
    reference& operator= (const reference& other) noexcept
    {
        T* old = target;
        up (other.target);
        target = other.target;
        down (old);
        return *this;
    }

    reference& operator= (reference&& other) noexcept
    {
        if (this != &other)
        {
            T* old = target;
            target = std::exchange (other.target, nullptr);
            down (old);
        }
        return *this;
    }

    T* get() const noexcept { return target; }
    T& operator*() const noexcept { return *target; }
    T* operator->() const noexcept { return target; }
    explicit operator bool() const noexcept { return target != nullptr; }

    friend bool operator== (const reference& a, const reference& b) noexcept { return a.target == b.target; }
    friend bool operator!= (const reference& a, const reference& b) noexcept { return a.target != b.target; }

private:
    static void up (T* t) noexcept
    {
        if (t != nullptr)
            static_cast<object*> (t)->count.fetch_add (1, std::memory_order_relaxed);
    }

    static void down (T* t) noexcept
    {
        if (t != nullptr && static_cast<object*> (t)->count.fetch_sub (1, std::memory_order_acq_rel) == 1)
            delete static_cast<object*> (t);
    }

    T* target = nullptr;
};
} // namespace qv
