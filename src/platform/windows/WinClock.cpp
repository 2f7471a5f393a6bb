#include "platform/windows/WinClock.h"

#include <windows.h>

namespace Qv::platform::windows {

void WinClock::Sleep(uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace Qv::platform::windows
