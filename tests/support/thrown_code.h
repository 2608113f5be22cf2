#pragma once

#include "device/qv/result.h"

#include <cstdint>

// The result code (the port's os_result unless told otherwise) that `action` throws,
// or 0 when it throws none (no failure is coded 0).
template <class Result = qv::os_result, class Action>
std::int64_t thrown_code (Action&& action)
{
    try
    {
        action();
    }
    catch (Result code)
    {
        return code;
    }
    return 0;
}
