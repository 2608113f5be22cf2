// The port's side of the wire: whatever a host sends, taking a reply must end in an
// answer, a wait for more bytes or a clean refusal, and never write past `out`.
#include "device/posix/wire.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    // The first bytes choose what the client waits for and how the bytes arrive.
    const std::uint32_t sequence = data[0] % 8, capacity = data[1] % 32;
    const std::uint32_t code = sequence == 0 ? qv::wire::hello : qv::wire::vendor_request;
    const std::size_t piece = 1 + data[2] % 64;
    std::vector<std::uint8_t> received, out (capacity);
    for (std::size_t at = 3; at < size; at += piece)
    {
        received.insert (received.end(), data + at, data + std::min (size, at + piece));
        std::uint32_t status = 0;
        const auto result = qv::wire::take_reply (received, code, sequence, out.data(), capacity, status);
        if (result == qv::wire::take_result::broken && ! received.empty())
            std::abort(); // a broken stream must be dropped whole
        if (result != qv::wire::take_result::need_more)
            received.clear();
    }
    return 0;
}
