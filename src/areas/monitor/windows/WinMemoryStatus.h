#pragma once
#include "areas/monitor/IMemoryStatus.h"

namespace Qv::platform::windows {

// GlobalMemoryStatusEx.
class WinMemoryStatus : public IMemoryStatus {
public:
    Result<uint32_t> MemoryLoad() override;
};

}  // namespace Qv::platform::windows
