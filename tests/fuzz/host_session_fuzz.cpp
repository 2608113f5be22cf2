// veltrano-virtual's side of the wire: any byte stream from a client, in any
// pieces, must be answered frame by frame or refused, never crash or loop.
#include "device/posix/wire.h"
#include "session.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    if (size < 1)
        return 0;
    const std::size_t piece = 1 + data[0] % 64;
    vv_model model;
    vv_model_init (&model);
    session conversation (model);
    bool finished = false;
    for (std::size_t at = 1; at < size; at += piece)
        for (const auto& r : conversation.receive (data + at, std::min (piece, size - at)))
        {
            if (finished)
                std::abort(); // nothing may be answered after a hang-up or a vanish
            finished = r.hang_up || r.vanish;
            qv::wire::frame reply;
            if (! r.vanish
                && (qv::wire::parse_frame (r.reply.data(), r.reply.size(), reply) != qv::wire::parse_result::complete
                    || reply.size != r.reply.size()))
                std::abort(); // every reply is one well-formed frame
        }
    return 0;
}
