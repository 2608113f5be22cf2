// qv::message on Windows: the system's own text, untrimmed, named by the low 16 bits of
// the code. Wine's wording differs from Windows', so the test looks at the shape.
#include "win32_test_support.h"

#include <gtest/gtest.h>

TEST (qv_win32_message, is_the_system_text_with_its_line_break_or_empty)
{
    for (std::uint32_t code : { 2u, 5u, 32u, 50u })
    {
        const auto text = qv::message (qv::os_result (code));
        ASSERT_GT (text.size(), 2u) << code;
        EXPECT_EQ (text.substr (text.size() - 2), "\r\n") << code;
        EXPECT_EQ (text.find ('\0'), std::string::npos) << code;
        EXPECT_EQ (qv::message (qv::os_result (code | 0xFFFF0000u)), text) << code;
    }
    EXPECT_NE (qv::message (qv::os_result (2)), qv::message (qv::os_result (5)));
    EXPECT_EQ (qv::message (qv::os_result (0xFFFF)), "");
}
