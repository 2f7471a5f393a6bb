#include "areas/notification/NotificationHelper.h"

#include "areas/notification/NotificationProtocol.h"
#include "core/status.h"
#include "platform/platform.h"
#include "shared/tool/ToolRunner.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Notification;

bool NonZero(const wchar_t* function, const std::wstring& argument) {
    return ToolRunner::Ask(Words::kArea, Words::kReply, function, argument).value_or(0) != 0;
}

}  // namespace

NotificationHelper* NotificationHelper::GetInstance() {
    static NotificationHelper instance;
    return &instance;
}

bool NotificationHelper::GetToastOnOff() { return NonZero(Words::kGetToastOnOff, L""); }

bool NotificationHelper::SetToastOnOff(bool on) { return NonZero(Words::kSetToastOnOff, Tool::Switch(on)); }

bool NotificationHelper::CheckInputToast(Document* request, bool& on) {
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"BValue") : nullptr;
    if (value == nullptr || !value->IsBool()) return false;
    on = value->GetBool();
    return true;
}

int NotificationHelper::SetToastOnOff(Document* request, Document* response) {
    bool on = false;
    if (!CheckInputToast(request, on)) return Status::kArgumentCheckFailed;
    response->AddMember(L"result", SetToastOnOff(on), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
