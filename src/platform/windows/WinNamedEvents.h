#pragma once
#include "platform/INamedEvents.h"

namespace Qv::platform::windows {

// Kernel events.
class WinNamedEvents : public INamedEvents {
public:
    Result<EventHandle> CreateManualReset(const std::wstring& name) override;
    Result<void> Set(EventHandle handle) override;
    Result<void> Reset(EventHandle handle) override;
    Result<int> WaitForEither(EventHandle first, EventHandle second) override;
    Result<void> Close(EventHandle handle) override;
};

}  // namespace Qv::platform::windows
