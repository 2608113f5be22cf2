// qv::message on Windows: the system's own text, untrimmed. Wine's wording differs
// from Windows', so the tests look at the shape, not the words.
#include "win32_test_support.h"

#include <gtest/gtest.h>

TEST (qv_win32_message, keeps_the_system_text_with_its_line_break)
{
    for (std::uint32_t code : { 2u, 5u, 32u, 50u })
    {
        const auto text = qv::message (qv::os_result (code));
        ASSERT_GT (text.size(), 2u) << code;
        EXPECT_EQ (text.substr (text.size() - 2), "\r\n") << code;
        EXPECT_EQ (text.find ('\0'), std::string::npos) << code;
    }
    EXPECT_NE (qv::message (qv::os_result (2)), qv::message (qv::os_result (5)));
}

TEST (qv_win32_message, only_the_low_sixteen_bits_name_the_text)
{
    EXPECT_EQ (qv::message (qv::os_result (0x10005)), qv::message (qv::os_result (5)));
    EXPECT_EQ (qv::message (qv::os_result (0xFFFF0020)), qv::message (qv::os_result (32)));
}

TEST (qv_win32_message, a_code_without_text_gives_an_empty_string)
{
    EXPECT_EQ (qv::message (qv::os_result (0xFFFF)), "");
}
