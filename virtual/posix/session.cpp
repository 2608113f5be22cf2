#include "session.h"

#include "device/posix/wire.h"

#include <cerrno>
#include <cstring>

std::vector<response> session::receive (const std::uint8_t* data, std::size_t size)
{
    std::vector<response> responses;
    if (finished)
        return responses;
    inbox.insert (inbox.end(), data, data + size);

    std::size_t used = 0;
    while (! finished)
    {
        qv::wire::frame request;
        const auto parsed = qv::wire::parse_request (inbox.data() + used, inbox.size() - used, request);
        if (parsed == qv::wire::parse_result::incomplete)
            break;
        if (parsed == qv::wire::parse_result::malformed)
        {
            // No way to find the next frame: say so and drop the client.
            response r;
            r.reply = qv::wire::encode (qv::wire::hello, 0, EPROTO, nullptr, 0);
            r.hang_up = true;
            responses.push_back (std::move (r));
            finished = true;
            break;
        }
        used += request.size;
        responses.push_back (answer (request.code, request.sequence, request.word, request.payload, request.length));
        finished = responses.back().vanish;
    }
    inbox.erase (inbox.begin(), inbox.begin() + static_cast<std::ptrdiff_t> (used));
    return responses;
}

response session::answer (std::uint32_t code, std::uint32_t sequence, std::uint32_t capacity,
                          const std::uint8_t* payload, std::uint32_t length)
{
    response r;
    if (! qv::wire::known_request (code))
    {
        r.reply = qv::wire::encode (code, sequence, EINVAL, nullptr, 0);
        return r;
    }

    std::uint8_t buffer[qv::wire::max_payload] = {};
    std::memcpy (buffer, payload, length);
    std::memcpy (r.before, model.block, sizeof r.before);
    std::uint32_t out_length = 0;
    switch (vv_model_request (&model, code, buffer, length, capacity, &out_length, &r.changed_mask))
    {
        case VV_OK:
            r.reply = qv::wire::encode (code, sequence, 0, buffer, out_length);
            r.wrote_block = code == qv::wire::vendor_request && length >= 1 && buffer[0] == 0x40;
            break;
        case VV_FAILED:
            // What a stalled control request looks like from user space.
            r.reply = qv::wire::encode (code, sequence, EIO, nullptr, 0);
            break;
        case VV_VANISHED:
            r.vanish = true;
            break;
    }
    return r;
}
