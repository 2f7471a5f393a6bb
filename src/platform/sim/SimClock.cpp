#include "platform/sim/SimClock.h"

namespace Qv::Sim {

void SimClock::Sleep(uint32_t milliseconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    sleeps_.Add(milliseconds);
}

uint64_t SimClock::SteadyMilliseconds() {
    std::lock_guard<std::mutex> lock(mutex_);
    return now_;
}

bool SimClock::SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) {
    std::unique_lock<std::mutex> lock(mutex_);
    ++sleepers_;
    ++sleepUntilCalls_;
    changed_.notify_all();
    changed_.wait(lock, [&] { return now_ >= deadline || stop.load(); });
    --sleepers_;
    changed_.notify_all();
    return now_ >= deadline;
}

void SimClock::Wake() {
    std::lock_guard<std::mutex> lock(mutex_);
    changed_.notify_all();
}

std::vector<uint32_t> SimClock::Sleeps() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sleeps_.Items();
}

void SimClock::Advance(uint64_t milliseconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    now_ += milliseconds;
    changed_.notify_all();
}

size_t SimClock::Sleepers() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sleepers_;
}

size_t SimClock::SleepUntilCalls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sleepUntilCalls_;
}

void SimClock::WaitForSleepers(size_t count) const {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return sleepers_ >= count; });
}

}  // namespace Qv::Sim
