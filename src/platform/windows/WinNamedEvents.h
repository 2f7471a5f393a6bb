#pragma once
#include "platform/INamedEvents.h"

namespace Qv::platform::windows {

// Kernel events.
class WinNamedEvents : public INamedEvents {
public:
    void Close(EventHandle handle) override;
};

}  // namespace Qv::platform::windows
