#pragma once
// The signed-in user's registry hive on the simulated laptop. Strict as the system is: read
// without impersonating the user, the hive opened is the service's own, which has no key of the
// user's.
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "areas/companion-launch/IUserRegistry.h"
#include "platform/sim/SimDevice.h"

namespace Qv::Sim {

class SimUserRegistry : public platform::IUserRegistry {
public:
    explicit SimUserRegistry(SimWorld& world) : world_(world) {}

    Read ReadString(const std::wstring& key, const std::wstring& name) override;

    // Arrangement: a text value, a value of another type, a hive that cannot be opened.
    void SetString(const std::wstring& key, const std::wstring& name, const std::wstring& text);
    void SetNonString(const std::wstring& key, const std::wstring& name);  // a REG_DWORD, say
    void SetHiveUnavailable(bool unavailable);

private:
    SimWorld& world_;
    std::mutex mutex_;
    std::map<std::wstring, std::map<std::wstring, std::optional<std::wstring>>> keys_;  // lower-case key
    bool hiveUnavailable_ = false;
};

// The simulated user registry of `device`.
SimUserRegistry& SimulatedUserRegistry(SimDevice& device);

}  // namespace Qv::Sim
