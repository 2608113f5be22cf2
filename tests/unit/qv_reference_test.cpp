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

TEST (qv_reference, null_references_touch_nothing)
{
    qv::reference<counted> none;
    qv::reference<counted> copy (none);
    qv::reference<counted> assigned;
    assigned = none;
    EXPECT_FALSE (copy);
    EXPECT_EQ (assigned.get(), nullptr);
}

TEST (qv_reference, counts_and_deletes_exactly_once)
{
    int deletions = 0;
    auto* object = new counted (deletions);
    EXPECT_EQ (object->count, 0u);
    {
        qv::reference<counted> first (object);
        {
            qv::reference<counted> second (first);
            EXPECT_EQ (object->count, 2u);
        }
        EXPECT_EQ (object->count, 1u);
        EXPECT_EQ (deletions, 0);
    }
    EXPECT_EQ (deletions, 1);
}

TEST (qv_reference, assignment_counts_up_before_down)
{
    int deletions = 0;
    qv::reference<counted> only (new counted (deletions));
    auto& alias = only;
    only = alias; // self-assignment of the last reference must not delete
    EXPECT_EQ (deletions, 0);
    EXPECT_EQ (only->count, 1u);

    int other_deletions = 0;
    qv::reference<counted> other (new counted (other_deletions));
    only = other;
    EXPECT_EQ (deletions, 1);
    EXPECT_EQ (other->count, 2u);

    only = qv::reference<counted>();
    EXPECT_EQ (other->count, 1u);
    other = qv::reference<counted>();
    EXPECT_EQ (other_deletions, 1);
}
