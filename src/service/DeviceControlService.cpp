#include "service/DeviceControlService.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "core/null_checker.h"
#include "core/status.h"
#include "core/strings.h"
#include "service/Area.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

using Logging::LogManager;

DeviceControlService::DeviceControlService() : DeviceControlService(platform::Current()) {}

namespace {

// Service objects alive in the process: when the last one goes, the areas stop their threads.
std::atomic<int>& LiveServices() {
    static std::atomic<int> count{0};
    return count;
}

}  // namespace

DeviceControlService::DeviceControlService(platform::Platform& platform, const CommandTable& commands)
    : platform_(platform), commands_(commands), className_(Core::TypeName<DeviceControlService>()) {
    logger_ = LogManager::GetSystemInformationLogger();
    ++LiveServices();
}

DeviceControlService::~DeviceControlService() {
    // A host that stops the service may unload the module next: no thread of ours may be left
    // waiting, either on a host thread's subscription or on the module's own.
    std::vector<DeviceControlServiceContext*> open;
    {
        std::lock_guard<std::mutex> lock(sessionsMutex_);
        open.assign(sessions_.begin(), sessions_.end());
    }
    for (DeviceControlServiceContext* context : open)
        for (const Area& area : Areas())
            if (area.serviceStopping != nullptr) area.serviceStopping(*context, platform_);
    if (--LiveServices() == 0)
        for (const Area& area : Areas())
            if (area.lastServiceGone != nullptr) area.lastServiceGone(platform_);
    logger_ = nullptr;
    // The areas' service state (and the threads it owns) ends with areaState_, the last member.
}

void* DeviceControlService::operator new(size_t size) {
    void* memory = std::calloc(1, size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void DeviceControlService::operator delete(void* memory) noexcept { std::free(memory); }

int DeviceControlService::StartSession(wchar_t* clientId, void** sessionContext) {
    if (sessionContext != nullptr) {
        auto context = std::make_unique<DeviceControlServiceContext>();
        for (const Area& area : Areas())
            if (area.sessionStarted != nullptr) area.sessionStarted(*context, platform_);

        const size_t length = clientId != nullptr ? wcsnlen(clientId, kMaxClientIdLength) : 0;
        context->clientId = static_cast<wchar_t*>(std::malloc((length + 1) * sizeof(wchar_t)));
        if (context->clientId == nullptr) throw std::bad_alloc();
        if (length != 0) std::wmemcpy(context->clientId, clientId, length);
        context->clientId[length] = L'\0';
        {
            std::lock_guard<std::mutex> lock(sessionsMutex_);
            sessions_.insert(context.get());
        }
        *sessionContext = context.release();
    }
    logger_->LogInfo(L"DeviceControlService::StartSession clientId: %s", clientId);
    return Status::kSuccess;
}

int DeviceControlService::EndSession(void** sessionContext) {
    if (sessionContext != nullptr && *sessionContext != nullptr) {
        auto* context = static_cast<DeviceControlServiceContext*>(*sessionContext);
        {
            std::lock_guard<std::mutex> lock(sessionsMutex_);
            sessions_.erase(context);
        }
        for (const Area& area : Areas())
            if (area.sessionEnding != nullptr) area.sessionEnding(*context, platform_);
        std::free(context->clientId);
        context->clientId = nullptr;
        delete context;
    }
    logger_->LogInfo(L"DeviceControlService::EndSession");
    return Status::kSuccess;
}

int DeviceControlService::ExecuteCommand(void* sessionContext, unsigned int functionId, wchar_t* input,
                                         wchar_t** output, std::function<void(wchar_t*)> callback,
                                         Qv::Bridge::Security::RequestConfiguration* /*requestConfiguration*/) {
    FunctionCallback source(std::move(callback));
    return ExecuteCommand(sessionContext, functionId, input, output, source);
}

int DeviceControlService::ExecuteCommand(void* sessionContext, unsigned int functionId, wchar_t* input,
                                         wchar_t** output, CallbackSource& callback) {
    int status = Status::kGeneralFailure;
    if (!Core::NullChecker::Check({{input, "message"}, {output, "outString"}})) return status;

    Json::Document request(nullptr, Json::kParseStackBytes);
    if (!Json::ParseRequest(request, input)) {
        *output = nullptr;
        return Status::kInvalidJson;
    }

    Json::Document response(nullptr, Json::kParseStackBytes);
    response.SetObject();

    const CommandRow* row = (functionId - 1u > 132u) ? nullptr : commands_.Find(functionId);
    if (row == nullptr || !row->Live()) {
        logger_->LogError(L"%S.%S - Unsupported Function call %d", className_, "ExecuteCommand", functionId);
        status = Status::kUnsupportedFunction;
    } else {
        CommandCall call{request, response, callback, static_cast<DeviceControlServiceContext*>(sessionContext)};
        switch (row->form) {
            case CommandForm::Inline: {
                // The one place that frames inline answers: "result" from the typed operation.
                const InlineResult result = row->inlineHandler(call);
                result.WriteTo(response);
                status = result.Status();
                break;
            }
            case CommandForm::Delegated: status = row->handler(call); break;
            case CommandForm::Filled:
                row->handler(call);
                status = Status::kSuccess;
                break;
        }
    }

    const std::wstring text = Json::Serialize(response);
    if (text.size() + 1 > kMaxAnswerChars) {
        *output = nullptr;
        return Status::kGeneralFailure;
    }
    auto* answer = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
    if (answer == nullptr) {
        *output = nullptr;
        return Status::kGeneralFailure;
    }
    std::wmemcpy(answer, text.c_str(), text.size() + 1);
    *output = answer;
    return status;
}

void DeviceControlService::startup_task() {
    ServiceScope scope{platform_, areaState_};
    for (const Area& area : Areas())
        if (area.startup != nullptr) area.startup(scope);
}

bool DeviceControlService::oobe_event_task() {
    ServiceScope scope{platform_, areaState_};
    for (const Area& area : Areas())
        if (area.firstRun != nullptr) area.firstRun(scope);
    return true;
}

void DeviceControlService::session_change_task(unsigned long event, void* /*data*/) {
    ServiceScope scope{platform_, areaState_};
    for (const Area& area : Areas())
        if (area.sessionChanged != nullptr) area.sessionChanged(event, scope);
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl

namespace Qv::Bridge::Server::Services::DeviceControl {

bool DeviceControlService::ImpersonateUser() { return UserSession(platform_).ImpersonateUser(); }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
