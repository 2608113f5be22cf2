// The port's side of the wire: whatever a host sends, taking a reply must end in an
// answer, a wait for more bytes or a clean refusal, and never write past `out`.
#include "device/posix/wire.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    // The first bytes choose what the client waits for and how the bytes arrive.
    const std::uint32_t sequence = data[0] % 8;
    const std::uint32_t capacity = data[1] % 32;
    const std::size_t piece = 1 + data[2] % 64;
    data += 3;
    size -= 3;
    const std::uint32_t code = sequence == 0 ? qv::wire::hello : qv::wire::vendor_request;

    std::vector<std::uint8_t> received;
    std::vector<std::uint8_t> out (capacity);
    for (std::size_t at = 0; at < size; at += piece)
    {
        const std::size_t n = at + piece <= size ? piece : size - at;
        received.insert (received.end(), data + at, data + at + n);
        std::uint32_t status = 0;
        const auto result = qv::wire::take_reply (received, code, sequence, out.data(), capacity, status);
        if (result == qv::wire::take_result::broken && ! received.empty())
            std::abort(); // a broken stream must be dropped whole
        if (result != qv::wire::take_result::need_more)
            received.clear();
    }
    return 0;
}
