#include "device/qv/object.h"

#include <gtest/gtest.h>

namespace
{
struct counted : qv::object
{
    explicit counted (int& deletions) : deletions (deletions) {}
    ~counted() override { ++deletions; }
    int& deletions;
};
} // namespace

TEST (qv_reference, counts_and_deletes_exactly_once_and_a_null_reference_touches_nothing)
{
    int deletions = 0;
    auto* object = new counted (deletions);
    {
        qv::reference<counted> first (object), none;
        {
            qv::reference<counted> second (first), copy (none);
            EXPECT_EQ (object->count, 2u);
            copy = none;
            EXPECT_FALSE (copy);
        }
        EXPECT_EQ (object->count, 1u);
        EXPECT_EQ (deletions, 0);
    }
    EXPECT_EQ (deletions, 1);
}

TEST (qv_reference, assignment_counts_up_before_down)
{
    int deletions = 0, other_deletions = 0;
    qv::reference<counted> only (new counted (deletions)), other (new counted (other_deletions));
    auto& alias = only;
    only = alias; // self-assignment of the last reference must not delete
    EXPECT_EQ (deletions, 0);
    EXPECT_EQ (only->count, 1u);

    only = other;
    EXPECT_EQ (deletions, 1);
    EXPECT_EQ (other->count, 2u);
    only = qv::reference<counted>();
    other = qv::reference<counted>();
    EXPECT_EQ (other_deletions, 1);
}
