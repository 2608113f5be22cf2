#include <gtest/gtest.h>

#include "skin/image_lookup.h"

TEST (image_lookup, unknown_and_empty_references_give_null_images)
{
    EXPECT_TRUE (image_lookup ("").isNull());
    EXPECT_TRUE (image_lookup ("resource::???").isNull());
    // The table is matched exactly, letter case included.
    EXPECT_TRUE (image_lookup ("resource::EASY_png").isNull());
}
