#include "platform/windows/WinClock.h"

#include <windows.h>

#include <chrono>
#include <thread>

namespace Qv::platform::windows {

void WinClock::Sleep(uint32_t milliseconds) { ::Sleep(milliseconds); }

uint64_t WinClock::SteadyMilliseconds() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

void WinClock::SleepUntil(uint64_t deadline) {
    std::this_thread::sleep_until(std::chrono::steady_clock::time_point(std::chrono::milliseconds(deadline)));
}

}  // namespace Qv::platform::windows
