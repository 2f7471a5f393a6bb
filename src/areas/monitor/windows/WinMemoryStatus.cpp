#include "areas/monitor/windows/WinMemoryStatus.h"

#include <windows.h>

namespace Qv::platform::windows {

Result<uint32_t> WinMemoryStatus::MemoryLoad() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status)) return Failure{static_cast<int32_t>(GetLastError())};
    return static_cast<uint32_t>(status.dwMemoryLoad);
}

}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IMemoryStatus> Qv::platform::IMemoryStatus::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinMemoryStatus>();
}
