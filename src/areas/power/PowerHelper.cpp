#include "areas/power/PowerHelper.h"

#include "core/status.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr uint8_t kOffline = 0;
constexpr uint8_t kOnline = 1;

// The power source in use: true on mains, false on battery; nullopt when it is not known.
std::optional<bool> OnMains(platform::IPowerApi& power) {
    const auto status = power.AcLineStatus();
    if (!status || (*status != kOffline && *status != kOnline)) return std::nullopt;
    return *status == kOnline;
}

}  // namespace

const std::map<PowerMode, platform::Guid>& PowerHelper::ModeOverlays() {
    static const std::map<PowerMode, platform::Guid> overlays{
        {BestPerformance, {0xded574b5, 0x45a0, 0x4f42, {0x87, 0x37, 0x46, 0x34, 0x5c, 0x09, 0xc2, 0x38}}},
        {Balanced, {}},
        {BestPowerEfficiency, {0x961cc777, 0x2547, 0x4f9d, {0x81, 0x74, 0x7d, 0x86, 0x18, 0x1b, 0x8a, 0x7a}}},
    };
    return overlays;
}

PowerHelper* PowerHelper::GetInstance() {
    static PowerHelper instance(nullptr);
    return &instance;
}

PowerHelper::PowerHelper(platform::Platform* platform) : platform_(platform) {
    functions_ = Ports().AreaPort<platform::IPowerApi>().PowerModeFunctions();
    supported_ = functions_.getAc && functions_.getDc && functions_.setAc && functions_.setDc;
}

int PowerHelper::GetPowerMode() {
    if (!functions_.getAc || !functions_.getDc) return -1;
    platform::IPowerApi& power = Ports().AreaPort<platform::IPowerApi>();
    const std::optional<bool> onMains = OnMains(power);
    if (!onMains) return -1;
    const auto overlay = power.GetUserConfiguredPowerMode(*onMains);
    if (!overlay) return -1;
    for (const auto& [mode, guid] : ModeOverlays()) {
        if (guid == *overlay) return mode;
    }
    return -1;  // an overlay of someone else's making
}

bool PowerHelper::SetPowerMode(PowerMode mode) {
    if (!functions_.setAc || !functions_.setDc) return false;
    platform::IPowerApi& power = Ports().AreaPort<platform::IPowerApi>();
    const std::optional<bool> onMains = OnMains(power);
    if (!onMains) return false;
    // Only the power source in use is changed. A mode outside the map stands for the zero
    // overlay (balanced); the callers here never pass one.
    const auto overlay = ModeOverlays().find(mode);
    return power.SetUserConfiguredPowerMode(*onMains, overlay != ModeOverlays().end() ? overlay->second : platform::Guid{})
        .Ok();
}

int PowerHelper::SetPowerMode(Document* request, Document* response) {
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"IValue") : nullptr;
    // Read as unsigned, so negative values are out of range too.
    if (value == nullptr || !value->IsInt() || static_cast<uint32_t>(value->GetInt()) > BestPowerEfficiency)
        return Status::kArgumentCheckFailed;
    response->AddMember(L"result", SetPowerMode(static_cast<PowerMode>(value->GetInt())), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
