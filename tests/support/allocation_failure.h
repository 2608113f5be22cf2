#pragma once

#include <cstddef>
#include <cstdint>

// Failing allocations on demand, for tests of what a failure part-way through a
// constructor leaves behind. Counts only this thread's operator new and delete.
namespace allocation_failure
{
// Bytes this thread holds through operator new, less what it gave back.
std::int64_t outstanding_bytes();

// While it lives, the `nth` allocation of `size` bytes on this thread (1 = the next one)
// throws std::bad_alloc; later ones succeed again.
class scoped
{
public:
    scoped (long nth, std::size_t size);
    ~scoped();
    scoped (const scoped&) = delete;
    scoped& operator= (const scoped&) = delete;

    bool failed() const; // whether the failing allocation came
};
} // namespace allocation_failure
