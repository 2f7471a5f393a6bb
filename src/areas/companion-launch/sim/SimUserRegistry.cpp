#include "areas/companion-launch/sim/SimUserRegistry.h"

#include <stdexcept>

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorFileNotFound = 2;
constexpr int32_t kErrorAccessDenied = 5;
constexpr int32_t kErrorUnsupportedType = 1630;

}  // namespace

SimUserRegistry::Read SimUserRegistry::ReadString(const std::wstring& key, const std::wstring& name) {
    if (const auto fault = world_.faults.Enter(SimPort::UserRegistry)) return {Read::Outcome::HiveNotOpened, {}, *fault};
    bool impersonating = false;
    {
        std::lock_guard<std::mutex> lock(world_.mutex);
        impersonating = ThreadUser(world_) == world_.userSecurityId;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (hiveUnavailable_) return {Read::Outcome::HiveNotOpened, {}, kErrorAccessDenied};
    if (!impersonating) return {Read::Outcome::KeyNotFound, {}, kErrorFileNotFound};
    const auto found = keys_.find(Lower(key));
    if (found == keys_.end()) return {Read::Outcome::KeyNotFound, {}, kErrorFileNotFound};
    const auto value = found->second.find(Lower(name));
    if (value == found->second.end()) return {Read::Outcome::ValueInvalid, {}, kErrorFileNotFound};
    if (!value->second) return {Read::Outcome::ValueInvalid, {}, kErrorUnsupportedType};
    return {Read::Outcome::Value, *value->second, 0};
}

void SimUserRegistry::SetString(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    keys_[Lower(key)][Lower(name)] = text;
}

void SimUserRegistry::SetNonString(const std::wstring& key, const std::wstring& name) {
    std::lock_guard<std::mutex> lock(mutex_);
    keys_[Lower(key)][Lower(name)] = std::nullopt;
}

void SimUserRegistry::SetHiveUnavailable(bool unavailable) {
    std::lock_guard<std::mutex> lock(mutex_);
    hiveUnavailable_ = unavailable;
}

SimUserRegistry& SimulatedUserRegistry(SimDevice& device) {
    return static_cast<SimUserRegistry&>(
        device.AreaPort<platform::IUserRegistry>());
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IUserRegistry> Qv::platform::IUserRegistry::Make(Platform& platform) {
    // The user's hive belongs to the simulated device's world (the signed-in user, impersonation).
    auto* device = dynamic_cast<Qv::Sim::SimDevice*>(&platform);
    if (device == nullptr) throw std::logic_error("the user registry needs the simulated device");
    return std::make_shared<Qv::Sim::SimUserRegistry>(device->World());
}
