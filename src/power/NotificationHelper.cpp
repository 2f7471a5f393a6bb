#include "power/NotificationHelper.h"

#include "core/status.h"
#include "helpers/ToolRunner.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr const wchar_t* kArea = L"Notification";

bool NonZero(const wchar_t* function, const wchar_t* argument) {
    return ToolRunner(platform::Current())
               .RunForInteger(kArea, function, argument, ToolRunner::Reply::AnyInteger)
               .value_or(0) != 0;
}

}  // namespace

NotificationHelper* NotificationHelper::GetInstance() {
    static NotificationHelper instance;
    return &instance;
}

NotificationHelper::NotificationHelper() {
    logger_ = Logging::LogManager::GetSystemInformationLogger();
}

bool NotificationHelper::GetToastOnOff() { return NonZero(L"GetToastOnOff", L""); }

bool NotificationHelper::SetToastOnOff(bool on) { return NonZero(L"SetToastOnOff", on ? L"1" : L"0"); }

bool NotificationHelper::CheckInputToast(Document* request, bool& on) {
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"BValue") : nullptr;
    if (value == nullptr || !value->IsBool()) return false;
    on = value->GetBool();
    return true;
}

int NotificationHelper::GetToastOnOff(Document*, Document* response) {
    response->AddMember(L"result", GetToastOnOff(), response->GetAllocator());
    return Status::kSuccess;
}

int NotificationHelper::SetToastOnOff(Document* request, Document* response) {
    bool on = false;
    if (!CheckInputToast(request, on)) return Status::kArgumentCheckFailed;
    response->AddMember(L"result", SetToastOnOff(on), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
