#pragma once
// Operating-system objects as the ports hand them to the logic.
#include <memory>

namespace Qv::platform {

// An object owned by whoever holds it (a kernel handle on Windows, a simulated object
// otherwise); the adapter's deleter closes it. Null means none.
using OwnedHandle = std::shared_ptr<void>;
// A user's access token, borrowed from its owner.
using UserToken = void*;
// A named kernel event of the device status subscriptions, closed through INamedEvents.
using EventHandle = void*;

}  // namespace Qv::platform
