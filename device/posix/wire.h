#pragma once

// The frames between the Linux port and a veltrano-virtual host on the interface's
// socket: one request, one reply, like one DeviceIoControl call. Every frame is a
// fixed little-endian header followed by `length` bytes:
//
//   offset 0  magic     "KVV1"
//          4  code      the control code (hello for the host's greeting)
//          8  sequence  chosen by the client, echoed by the host (0 in the greeting)
//         12  word      request: output capacity; reply: 0 or an errno value
//         16  length    bytes that follow (at most max_payload; none in a failed reply)
//
// A request carries the input buffer; a successful reply carries the output buffer.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qv::wire
{
constexpr std::uint32_t magic = 0x3156564B; // "KVV1" as it lies in memory
constexpr std::uint32_t hello = 0;          // the host's greeting: word 0 = accepted, else EBUSY
constexpr std::uint32_t vendor_request = 0x00220008;
constexpr std::uint32_t driver_version = 0x002200A4;
constexpr std::size_t header_size = 20;
constexpr std::uint32_t max_payload = 264; // setup packet and data, with room to spare

struct frame
{
    std::uint32_t code = 0;
    std::uint32_t sequence = 0;
    std::uint32_t word = 0;
    std::uint32_t length = 0;
    const std::uint8_t* payload = nullptr;
    std::size_t size = 0; // bytes the whole frame takes
};

enum class parse_result
{
    incomplete, // wait for more bytes
    complete,
    malformed   // the stream cannot be trusted any more
};

inline std::uint32_t get_u32 (const std::uint8_t* p)
{
    return std::uint32_t (p[0]) | (std::uint32_t (p[1]) << 8) | (std::uint32_t (p[2]) << 16) | (std::uint32_t (p[3]) << 24);
}

inline void put_u32 (std::vector<std::uint8_t>& out, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        out.push_back (static_cast<std::uint8_t> (v >> (8 * i)));
}

inline std::vector<std::uint8_t> encode (std::uint32_t code, std::uint32_t sequence, std::uint32_t word,
                                         const void* payload, std::uint32_t length)
{
    std::vector<std::uint8_t> out;
    out.reserve (header_size + length);
    put_u32 (out, magic);
    put_u32 (out, code);
    put_u32 (out, sequence);
    put_u32 (out, word);
    put_u32 (out, length);
    const auto* bytes = static_cast<const std::uint8_t*> (payload);
    out.insert (out.end(), bytes, bytes + length);
    return out;
}

inline bool known_request (std::uint32_t code) { return code == vendor_request || code == driver_version; }

// The frame at the start of `data`, checked for what any frame must be.
inline parse_result parse_frame (const std::uint8_t* data, std::size_t size, frame& out)
{
    if (size >= 4 && get_u32 (data) != magic)
        return parse_result::malformed;
    if (size < header_size)
        return parse_result::incomplete;
    frame f;
    f.code = get_u32 (data + 4);
    f.sequence = get_u32 (data + 8);
    f.word = get_u32 (data + 12);
    f.length = get_u32 (data + 16);
    if (f.length > max_payload)
        return parse_result::malformed;
    if (size < header_size + f.length)
        return parse_result::incomplete;
    f.payload = data + header_size;
    f.size = header_size + f.length;
    out = f;
    return parse_result::complete;
}

// Host side: a request must name a known code and ask for a sane output size. An
// unknown code is still a whole frame; the host answers it with an error.
inline parse_result parse_request (const std::uint8_t* data, std::size_t size, frame& out)
{
    const auto result = parse_frame (data, size, out);
    if (result == parse_result::complete && out.word > max_payload)
        return parse_result::malformed;
    return result;
}

// Client side: what to make of a whole reply while waiting for request `sequence`.
enum class reply_verdict
{
    answer,   // the reply to this request
    stale,    // the late reply to an earlier request: drop it and read on
    mismatch  // not a reply to anything that was asked
};

inline reply_verdict judge_reply (const frame& reply, std::uint32_t code, std::uint32_t sequence,
                                  std::uint32_t capacity)
{
    if (reply.sequence != sequence)
        return reply.sequence < sequence && reply.code != hello ? reply_verdict::stale : reply_verdict::mismatch;
    if (reply.code != code)
        return reply_verdict::mismatch;
    if (reply.word != 0 ? reply.length != 0 : reply.length > capacity)
        return reply_verdict::mismatch;
    return reply_verdict::answer;
}

enum class take_result
{
    need_more, // no whole reply yet
    answered,  // `status` holds the host's word; on 0 the payload is in `out`
    broken     // a frame that cannot be trusted: the buffer has been cleared
};

// Takes the reply to (code, sequence) from the front of the received bytes, dropping
// late replies to earlier requests on the way. `out` holds `capacity` bytes.
inline take_result take_reply (std::vector<std::uint8_t>& received, std::uint32_t code, std::uint32_t sequence,
                               void* out, std::uint32_t capacity, std::uint32_t& status)
{
    for (;;)
    {
        frame reply;
        const auto parsed = parse_frame (received.data(), received.size(), reply);
        if (parsed == parse_result::incomplete)
            return take_result::need_more;
        const auto verdict = parsed == parse_result::complete ? judge_reply (reply, code, sequence, capacity)
                                                              : reply_verdict::mismatch;
        if (verdict == reply_verdict::mismatch)
        {
            received.clear();
            return take_result::broken;
        }
        if (verdict == reply_verdict::answer)
        {
            status = reply.word;
            if (status == 0 && reply.length > 0)
                std::memcpy (out, reply.payload, reply.length);
        }
        received.erase (received.begin(), received.begin() + static_cast<std::ptrdiff_t> (reply.size));
        if (verdict == reply_verdict::answer)
            return take_result::answered;
    }
}
} // namespace qv::wire
