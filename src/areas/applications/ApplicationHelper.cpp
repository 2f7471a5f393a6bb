#include "areas/applications/ApplicationHelper.h"

#include "areas/applications/ApplicationProtocol.h"
#include "core/status.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "service/Arguments.h"
#include "shared/tool/ToolRunner.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Application;

// The first line a command run as the user printed; empty when it could not run or printed none.
std::wstring RunAsUser(const std::wstring& commandLine) {
    std::wstring output;
    if (!UserSession(platform::Current()).RunAsUserAndCapture(L"", commandLine, output)) return {};
    return output;
}

template <class Typed>
int Answer(Json::Document* request, Json::Document* response, Typed&& typed) {
    std::wstring text;
    if (!Arguments::ReadText(request, text)) return Status::kArgumentCheckFailed;
    response->AddMember(L"result", typed(text), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace

ApplicationHelper* ApplicationHelper::GetInstance() {
    static ApplicationHelper instance;
    return &instance;
}

ApplicationHelper::ApplicationHelper() { logger_ = Logging::LogManager::GetSystemInformationLogger(); }

bool ApplicationHelper::OpenApplication(std::wstring& name) {
    const std::wstring appId =
        RunAsUser(Words::kStartAppsBefore + Words::QuoteForScript(name) + Words::kStartAppsAfter);
    if (appId.empty()) return false;
    std::wstring ignored;
    return UserSession(platform::Current()).RunAsUserAndCapture(L"", Words::kOpenAppsFolder + appId, ignored);
}

bool ApplicationHelper::CloseApplication(std::wstring& name) {
    std::wstring location;
    if (!ToolRunner(platform::Current()).Run(Words::kArea, Words::kGetApplicationLocation, name, location, Words::kReply))
        return false;
    const std::wstring executable =
        RunAsUser(Words::kProcessBefore + Words::QuoteForScript(location) + Words::kProcessAfter);
    if (executable.empty()) return false;
    // taskkill runs as SYSTEM through the command processor: only a plain file name may follow.
    if (!Words::IsPlainExecutableName(executable)) {
        logger_->LogError(L"ApplicationHelper::CloseApplication - refusing to end '%s': not a plain executable name",
                          executable.c_str());
        return false;
    }
    platform::Current().Processes().RunCommandProcessor(Words::kTaskKill + Core::Narrow(executable));
    return true;
}

bool ApplicationHelper::WriteToDoc(std::wstring& text) {
    platform::Platform& platform = platform::Current();
    std::wstring path = platform.Files().TemporaryFolder();
    if (path.empty()) return false;
    if (path.back() != L'\\') path += L'\\';
    path += kDocumentFileName;
    // Made anew and exclusively: the folder is writable by users, and what they may have left
    // under this name (a link to a system file, for one) is removed, never written through.
    const auto written = platform.Files().CreateNewFile(path, Core::Narrow(text));
    if (!written) {
        Logging::LogApiError(logger_, "ApplicationHelper", "WriteToDoc", L"CreateFileW", written.Status());
        return false;
    }
    return ToolRunner::Ask(Words::kArea, Words::kReply, Words::kWriteToDoc, path).value_or(0) != 0;
}

int ApplicationHelper::OpenApplication(Document* request, Document* response) {
    return Answer(request, response, [&](std::wstring& name) { return OpenApplication(name); });
}

int ApplicationHelper::CloseApplication(Document* request, Document* response) {
    return Answer(request, response, [&](std::wstring& name) { return CloseApplication(name); });
}

int ApplicationHelper::WriteToDoc(Document* request, Document* response) {
    return Answer(request, response, [&](std::wstring& text) { return WriteToDoc(text); });
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
