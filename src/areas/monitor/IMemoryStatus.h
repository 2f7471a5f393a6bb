#pragma once
#include <cstdint>
#include <memory>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// The system's memory status.
class IMemoryStatus {
public:
    // Defined by the Windows adapter and by the fake (see Platform::AreaPort).
    static std::shared_ptr<IMemoryStatus> Make(Platform& platform);

    virtual ~IMemoryStatus() = default;
    // Physical memory in use, in percent.
    virtual Result<uint32_t> MemoryLoad() = 0;
};

}  // namespace Qv::platform
