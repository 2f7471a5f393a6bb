#include "areas/monitor/sim/SimBattery.h"

#include <vector>

namespace Qv::Sim {
namespace {

constexpr int32_t kClassNotRegistered = static_cast<int32_t>(0x80040154);

}  // namespace

platform::Result<int32_t> SimBattery::BatteryStatus() {
    QV_SIM_FAULT(faults_, Battery);
    std::lock_guard<std::mutex> lock(mutex_);
    if (!available_) return platform::Failure{kClassNotRegistered};
    return status_;
}

platform::Result<int32_t> SimBattery::RemainingChargePercent() {
    QV_SIM_FAULT(faults_, Battery);
    std::lock_guard<std::mutex> lock(mutex_);
    if (!available_) return platform::Failure{kClassNotRegistered};
    if (!chargeReadable_) return platform::Failure{static_cast<int32_t>(0x80004005)};
    return charge_;
}

void SimBattery::SetChargeReadable(bool readable) {
    std::lock_guard<std::mutex> lock(mutex_);
    chargeReadable_ = readable;
}

platform::Result<int64_t> SimBattery::Add(Handlers& handlers, std::function<void()> handler) {
    QV_SIM_FAULT(faults_, Battery);
    std::lock_guard<std::mutex> lock(mutex_);
    if (!available_) return platform::Failure{kClassNotRegistered};
    const int64_t token = nextToken_++;
    handlers[token] = std::move(handler);
    return token;
}

platform::Result<int64_t> SimBattery::AddBatteryStatusChanged(std::function<void()> handler) {
    return Add(statusHandlers_, std::move(handler));
}

platform::Result<int64_t> SimBattery::AddRemainingChargeChanged(std::function<void()> handler) {
    return Add(chargeHandlers_, std::move(handler));
}

void SimBattery::RemoveBatteryStatusChanged(int64_t token) {
    std::lock_guard<std::mutex> lock(mutex_);
    statusHandlers_.erase(token);
}

void SimBattery::RemoveRemainingChargeChanged(int64_t token) {
    std::lock_guard<std::mutex> lock(mutex_);
    chargeHandlers_.erase(token);
}

void SimBattery::Change(int32_t status, int32_t chargePercent) {
    std::vector<std::function<void()>> toCall;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (status != status_)
            for (const auto& [token, handler] : statusHandlers_) toCall.push_back(handler);
        if (chargePercent != charge_)
            for (const auto& [token, handler] : chargeHandlers_) toCall.push_back(handler);
        status_ = status;
        charge_ = chargePercent;
    }
    // Outside the lock: a handler may remove its own registration.
    for (const auto& handler : toCall) handler();
}

void SimBattery::SetAvailable(bool available) {
    std::lock_guard<std::mutex> lock(mutex_);
    available_ = available;
}

size_t SimBattery::Registrations() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return statusHandlers_.size() + chargeHandlers_.size();
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IBattery> Qv::platform::IBattery::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimBattery>(Qv::Sim::FaultsOf(platform));
}
