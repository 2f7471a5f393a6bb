#pragma once
#include <cstdint>

#include "platform/Result.h"

namespace Qv::platform {

// The system's memory status.
class IMemoryStatus {
public:
    virtual ~IMemoryStatus() = default;
    // Physical memory in use, in percent.
    virtual Result<uint32_t> MemoryLoad() = 0;
};

}  // namespace Qv::platform
