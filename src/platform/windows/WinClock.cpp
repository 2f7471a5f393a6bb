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

bool WinClock::SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) {
    std::unique_lock<std::mutex> lock(mutex_);
    return !woken_.wait_until(lock, std::chrono::steady_clock::time_point(std::chrono::milliseconds(deadline)),
                              [&] { return stop.load(); });
}

void WinClock::Wake() {
    std::lock_guard<std::mutex> lock(mutex_);
    woken_.notify_all();
}

}  // namespace Qv::platform::windows
