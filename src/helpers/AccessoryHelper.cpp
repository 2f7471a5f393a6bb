#include "helpers/AccessoryHelper.h"

#include <string>

#include "core/status.h"
#include "helpers/ToolRunner.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr const wchar_t* kArea = L"Accessory";

// The helper keeps no platform of its own: each call runs on the one installed now.
ToolRunner Runner() { return ToolRunner(platform::Current()); }

bool NonZero(std::optional<int> reply) { return reply.value_or(0) != 0; }

}  // namespace

AccessoryHelper* AccessoryHelper::GetInstance() {
    static AccessoryHelper instance;
    return &instance;
}

AccessoryHelper::AccessoryHelper() {
    logger_ = Logging::LogManager::GetSystemInformationLogger();
}

bool AccessoryHelper::CheckInputSpeed(Document* request, int& speed) {
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"IValue") : nullptr;
    if (value == nullptr || value->IsNull()) return false;
    // Only a JSON integer that fits in 32 bits is a speed; anything else cannot be in range.
    if (!value->IsInt()) return false;
    speed = value->GetInt();
    return static_cast<unsigned>(speed - 1) <= 19u;
}

int AccessoryHelper::GetMouseSpeed(Document* /*request*/, Document* response) {
    response->AddMember(L"result", GetMouseSpeed(), response->GetAllocator());
    return Status::kSuccess;
}

int AccessoryHelper::SetMouseSpeed(Document* request, Document* response) {
    int speed = -1;
    if (!CheckInputSpeed(request, speed)) return Status::kArgumentCheckFailed;
    response->AddMember(L"result", SetMouseSpeed(speed), response->GetAllocator());
    return Status::kSuccess;
}

int AccessoryHelper::SwapMouseButton(Document* /*request*/, Document* response) {
    response->AddMember(L"result", SwapMouseButton(), response->GetAllocator());
    return Status::kSuccess;
}

int AccessoryHelper::GetMouseSpeed() { return Runner().RunForInteger(kArea, L"GetMouseSpeed", L"").value_or(-1); }

bool AccessoryHelper::SetMouseSpeed(int speed) {
    return NonZero(Runner().RunForInteger(kArea, L"SetMouseSpeed", std::to_wstring(speed)));
}

bool AccessoryHelper::SwapMouseButton() { return NonZero(Runner().RunForInteger(kArea, L"SwapMouseButton", L"")); }

bool AccessoryHelper::SetMouseLeftHanded(bool leftHanded) {
    return NonZero(Runner().RunForInteger(kArea, L"SetMouseLeftHanded", leftHanded ? L"1" : L"0"));
}

bool AccessoryHelper::IsMouseSwapped() { return NonZero(Runner().RunForInteger(kArea, L"GetMouseSwapStatus", L"")); }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
