#pragma once
#include "platform/IMemoryStatus.h"

namespace Qv::platform::windows {

// GlobalMemoryStatusEx.
class WinMemoryStatus : public IMemoryStatus {
public:
    Result<uint32_t> MemoryLoad() override;
};

}  // namespace Qv::platform::windows
