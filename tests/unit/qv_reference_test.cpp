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

TEST (qv_reference, counts_up_before_down_and_deletes_exactly_once)
{
    int deletions = 0, other_deletions = 0;
    auto* object = new counted (deletions);
    qv::reference<counted> only (object), other (new counted (other_deletions)), none;
    {
        qv::reference<counted> second (only), copy (none);
        EXPECT_EQ (object->count, 2u);
        EXPECT_FALSE (copy = none);
    }
    auto& alias = only;
    only = alias; // self-assignment of the last reference must not delete
    EXPECT_EQ (deletions, 0);
    EXPECT_EQ (object->count, 1u);

    only = other;
    EXPECT_EQ (deletions, 1);
    EXPECT_EQ (other->count, 2u);
    only = qv::reference<counted>();
    other = qv::reference<counted>();
    EXPECT_EQ (other_deletions, 1);
}
