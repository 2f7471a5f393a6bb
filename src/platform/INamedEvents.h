#pragma once
#include <string>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// Named manual-reset kernel events, as the device status subscriptions signal across threads.
class INamedEvents {
public:
    virtual ~INamedEvents() = default;
    // A manual-reset event, initially clear; a second creation with the same name opens the same event.
    virtual Result<EventHandle> CreateManualReset(const std::wstring& name) = 0;
    virtual Result<void> Set(EventHandle handle) = 0;
    virtual Result<void> Reset(EventHandle handle) = 0;
    // Waits without a time limit until one of the two is set: 0 for `first`, 1 for `second`
    // (`first` wins when both are).
    virtual Result<int> WaitForEither(EventHandle first, EventHandle second) = 0;
    // Closing a null handle does nothing.
    virtual Result<void> Close(EventHandle handle) = 0;
};

}  // namespace Qv::platform
