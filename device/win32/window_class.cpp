#include "window_class.h"

#include "device/qv/result.h"
#include "system_calls.h"

#include <rpc.h>

#include <cstdint>

namespace qv
{
static_assert (sizeof (WNDCLASSEXA) == 80);

window_class::window_class (WNDPROC procedure)
{
    description.cbSize = sizeof description;
    description.lpfnWndProc = procedure;
    description.hInstance = GetModuleHandleA (nullptr);

    // "Unique on this computer only" is a non-zero status too, and fails like any other.
    UUID uuid;
    RPC_STATUS status = calls.UuidCreate (&uuid);
    if (status != RPC_S_OK)
        throw os_result (static_cast<std::uint32_t> (status));
    status = calls.UuidToStringA (&uuid, &uuid_text);
    if (status != RPC_S_OK)
        throw os_result (static_cast<std::uint32_t> (status));
    description.lpszClassName = name();

    if (calls.RegisterClassExA (&description) == 0)
    {
        const auto error = GetLastError();
        calls.RpcStringFreeA (&uuid_text);
        throw os_result (error);
    }
}

window_class::~window_class()
{
    calls.UnregisterClassA (name(), description.hInstance);
    calls.RpcStringFreeA (&uuid_text);
}
} // namespace qv
