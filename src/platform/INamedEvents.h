#pragma once
#include "platform/Handles.h"

namespace Qv::platform {

// Named kernel events of the device status subscriptions.
class INamedEvents {
public:
    virtual ~INamedEvents() = default;
    // Closing a null handle does nothing; a failed close is not reported.
    virtual void Close(EventHandle handle) = 0;
};

}  // namespace Qv::platform
