#include "device/qv/protocol.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

using namespace qv::protocol;

namespace
{
template <std::size_t N>
std::vector<int> bytes_of (const std::array<std::uint8_t, N>& a)
{
    return std::vector<int> (a.begin(), a.end());
}

firmware_buffer firmware_reply (std::uint8_t d0, std::uint8_t d1, std::uint8_t d2)
{
    auto buffer = firmware_request();
    buffer[8] = d0;
    buffer[9] = d1;
    buffer[10] = d2;
    return buffer;
}
} // namespace

TEST (qv_protocol, request_buffers_byte_for_byte)
{
    EXPECT_EQ (bytes_of (firmware_request()), (std::vector<int> { 0xC0, 0x56, 0, 0, 0, 0, 3, 0, 0, 0, 0 }));

    std::uint8_t block[16];
    for (int i = 0; i < 16; ++i)
        block[i] = static_cast<std::uint8_t> (0xA0 + i);

    EXPECT_EQ (bytes_of (block_request (false, block)),
               (std::vector<int> { 0xC0, 0x4E, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }));
    EXPECT_EQ (bytes_of (block_request (true, block)),
               (std::vector<int> { 0x40, 0x4E, 0, 0, 0, 0, 16, 0, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7,
                                   0xA8, 0xA9, 0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF }));
}

TEST (qv_protocol, firmware_reply_decoding)
{
    EXPECT_EQ (decode_firmware (firmware_reply (0, 1, 10)), 0x01010000u); // 1.1.0
    EXPECT_EQ (decode_firmware (firmware_reply (0, 1, 11)), 0x01010100u); // 1.1.1
    EXPECT_EQ (decode_firmware (firmware_reply (0, 2, 255)), 0x02190500u); // minor 25, patch 5
    EXPECT_EQ (decode_firmware (firmware_reply (0, 1, 23)), 0x01020300u);
    EXPECT_EQ (decode_firmware (firmware_reply (0xFF, 1, 11)), decode_firmware (firmware_reply (0, 1, 11)));

    EXPECT_LT (decode_firmware (firmware_reply (0, 1, 10)), first_firmware_with_block);
    EXPECT_GE (decode_firmware (firmware_reply (0, 1, 11)), first_firmware_with_block);
}

TEST (qv_protocol, driver_version_word_is_little_endian)
{
    const std::uint8_t bytes[4] = { 0x78, 0x04, 0x02, 0x01 };
    EXPECT_EQ (decode_driver_version (bytes), 0x01020478u);
}
