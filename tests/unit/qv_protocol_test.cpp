// The firmware reply's digits are packed oddly; 1.1.0 and 1.1.1 are decoded where the
// device opens (qv_veltrano_test), and so are the request buffers, byte for byte.
#include "device/qv/protocol.h"

#include <gtest/gtest.h>

TEST (qv_protocol, firmware_reply_decoding_ignores_d0_and_splits_d2_into_decimal_digits)
{
    auto buffer = qv::protocol::firmware_request();
    buffer[8] = 0xFF;
    buffer[9] = 2;
    buffer[10] = 255;
    EXPECT_EQ (qv::protocol::decode_firmware (buffer), 0x02190500u); // 2.25.5
}
