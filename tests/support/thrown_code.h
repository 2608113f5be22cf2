#pragma once

#include "device/qv/result.h"

#include <cstdint>

// The os_result that `action` throws, or 0 when it throws none (no failure is coded 0).
template <class Action>
std::int64_t thrown_code (Action&& action)
{
    try
    {
        action();
    }
    catch (qv::os_result code)
    {
        return code;
    }
    return 0;
}
