#include "areas/accessory/AccessoryHelper.h"

#include <string>

#include "areas/accessory/AccessoryProtocol.h"
#include "platform/platform.h"
#include "shared/tool/ToolRunner.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Accessory;

std::optional<int> Ask(const wchar_t* function, const std::wstring& argument = L"") {
    return ToolRunner::Ask(Words::kArea, Words::kReply, function, argument);
}

bool NonZero(std::optional<int> reply) { return reply.value_or(0) != 0; }

}  // namespace

AccessoryHelper* AccessoryHelper::GetInstance() {
    static AccessoryHelper instance;
    return &instance;
}

bool AccessoryHelper::CheckInputSpeed(Document* request, int& speed) {
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"IValue") : nullptr;
    if (value == nullptr || value->IsNull()) return false;
    // Only a JSON integer that fits in 32 bits is a speed; anything else cannot be in range.
    if (!value->IsInt()) return false;
    speed = value->GetInt();
    return static_cast<unsigned>(speed - 1) <= 19u;
}

int AccessoryHelper::GetMouseSpeed() { return Ask(Words::kGetMouseSpeed).value_or(-1); }

bool AccessoryHelper::SetMouseSpeed(int speed) { return NonZero(Ask(Words::kSetMouseSpeed, std::to_wstring(speed))); }

bool AccessoryHelper::SwapMouseButton() { return NonZero(Ask(Words::kSwapMouseButton)); }

bool AccessoryHelper::SetMouseLeftHanded(bool leftHanded) {
    return NonZero(Ask(Words::kSetMouseLeftHanded, Tool::Switch(leftHanded)));
}

bool AccessoryHelper::IsMouseSwapped() { return NonZero(Ask(Words::kGetMouseSwapStatus)); }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
