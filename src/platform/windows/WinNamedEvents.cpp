#include "platform/windows/WinNamedEvents.h"

#include "platform/windows/raii.h"

namespace Qv::platform::windows {

void WinNamedEvents::Close(EventHandle handle) { unique_handle owned(static_cast<HANDLE>(handle)); }

}  // namespace Qv::platform::windows
