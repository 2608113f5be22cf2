#include "tests/support/allocation_failure.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{
thread_local long countdown = 0; // 0: nothing armed
thread_local std::size_t failing_size = 0;
thread_local bool came = false;
thread_local std::int64_t outstanding = 0;

// Each block starts with its size, so that delete knows what it gives back.
constexpr std::size_t header = alignof (std::max_align_t);

void* allocate (std::size_t size)
{
    if (countdown > 0 && size == failing_size && --countdown == 0)
        throw (came = true, std::bad_alloc());
    auto* block = static_cast<unsigned char*> (std::malloc (size + header));
    if (block == nullptr)
        throw std::bad_alloc();
    std::memcpy (block, &size, sizeof size);
    outstanding += static_cast<std::int64_t> (size);
    return block + header;
}

void* allocate (std::size_t size, const std::nothrow_t&) noexcept
{
    try { return allocate (size); } catch (...) { return nullptr; }
}

void release (void* p) noexcept
{
    if (p == nullptr)
        return;
    auto* block = static_cast<unsigned char*> (p) - header;
    std::size_t size = 0;
    std::memcpy (&size, block, sizeof size);
    outstanding -= static_cast<std::int64_t> (size);
    std::free (block);
}
} // namespace

// Every form, not only the two the C++ library routes the others through: a sanitizer
// replaces each form itself, and a block must go back to the allocator that made it.
void* operator new (std::size_t size) { return allocate (size); }
void* operator new[] (std::size_t size) { return allocate (size); }
void* operator new (std::size_t size, const std::nothrow_t& n) noexcept { return allocate (size, n); }
void* operator new[] (std::size_t size, const std::nothrow_t& n) noexcept { return allocate (size, n); }
void operator delete (void* p) noexcept { release (p); }
void operator delete[] (void* p) noexcept { release (p); }
void operator delete (void* p, std::size_t) noexcept { release (p); }
void operator delete[] (void* p, std::size_t) noexcept { release (p); }
void operator delete (void* p, const std::nothrow_t&) noexcept { release (p); }
void operator delete[] (void* p, const std::nothrow_t&) noexcept { release (p); }

namespace allocation_failure
{
std::int64_t outstanding_bytes() { return outstanding; }
scoped::scoped (long nth, std::size_t size) { countdown = nth, failing_size = size, came = false; }
scoped::~scoped() { countdown = 0; }
bool scoped::failed() const { return came; }
} // namespace allocation_failure
