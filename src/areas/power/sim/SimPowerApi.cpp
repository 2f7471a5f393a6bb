#include "areas/power/sim/SimPowerApi.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorProcNotFound = 127;

}  // namespace

platform::IPowerApi::Functions SimPowerApi::PowerModeFunctions() {
    if (faults_.Enter(SimPort::PowerApi)) return {false, false, false, false};  // powrprof.dll not loaded
    std::lock_guard<std::mutex> lock(mutex_);
    return functions_;
}

platform::Result<uint8_t> SimPowerApi::AcLineStatus() {
    QV_SIM_FAULT(faults_, PowerApi);
    std::lock_guard<std::mutex> lock(mutex_);
    return acLineStatus_;
}

platform::Result<platform::Guid> SimPowerApi::GetUserConfiguredPowerMode(bool onMains) {
    QV_SIM_FAULT(faults_, PowerApi);
    std::lock_guard<std::mutex> lock(mutex_);
    if (!(onMains ? functions_.getAc : functions_.getDc)) return platform::Failure{kErrorProcNotFound};
    return onMains ? mains_ : battery_;
}

platform::Result<void> SimPowerApi::SetUserConfiguredPowerMode(bool onMains, const platform::Guid& mode) {
    QV_SIM_FAULT(faults_, PowerApi);
    std::lock_guard<std::mutex> lock(mutex_);
    if (!(onMains ? functions_.setAc : functions_.setDc)) return platform::Failure{kErrorProcNotFound};
    (onMains ? mains_ : battery_) = mode;
    return platform::Success();
}

void SimPowerApi::SetFunctions(Functions functions) {
    std::lock_guard<std::mutex> lock(mutex_);
    functions_ = functions;
}

void SimPowerApi::SetAcLineStatus(uint8_t status) {
    std::lock_guard<std::mutex> lock(mutex_);
    acLineStatus_ = status;
}

void SimPowerApi::SetOverlay(bool onMains, const platform::Guid& mode) {
    std::lock_guard<std::mutex> lock(mutex_);
    (onMains ? mains_ : battery_) = mode;
}

platform::Guid SimPowerApi::Overlay(bool onMains) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return onMains ? mains_ : battery_;
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IPowerApi> Qv::platform::IPowerApi::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimPowerApi>(Qv::Sim::FaultsOf(platform));
}
