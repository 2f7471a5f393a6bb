#include "areas/applications/ApplicationHelper.h"

#include "areas/applications/ApplicationProtocol.h"
#include "core/command_line.h"
#include "core/status.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "service/Arguments.h"
#include "shared/tool/ToolRunner.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Application;

// The programs the commands run, named in full from the system's own folders.
struct Programs {
    std::wstring powerShell;
    std::wstring explorer;
    std::wstring taskKill;
    std::wstring windowsFolder;

    static Programs Of(platform::Platform& platform) {
        const std::wstring system = platform.Files().SystemFolder();
        const std::wstring windows = system.substr(0, system.find_last_of(L'\\'));
        return {system + PowerShell::kBelowSystemFolder, windows + Words::kExplorerBelowWindows,
                system + Words::kTaskKillBelowSystem, windows};
    }
};

// The first line a program run as the user printed; empty when it could not run or printed none.
std::wstring RunAsUser(const std::wstring& program, const std::wstring& commandLine) {
    std::wstring output;
    if (!UserSession(platform::Current()).RunAsUserAndCapture(program, commandLine, output)) return {};
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
    if (Core::HasNul(name)) return false;
    const Programs programs = Programs::Of(platform::Current());
    const std::wstring appId = RunAsUser(programs.powerShell, Words::StartAppsCommand(programs.powerShell, name));
    if (appId.empty()) return false;
    // The Start menu's lists are the user's to write: the id must stay one argument of explorer.
    if (!Words::IsApplicationId(appId)) {
        logger_->LogError(L"ApplicationHelper::OpenApplication - refusing to open '%s': not an application id",
                          appId.c_str());
        return false;
    }
    std::wstring ignored;
    return UserSession(platform::Current())
        .RunAsUserAndCapture(programs.explorer, Words::OpenAppsFolderCommand(programs.explorer, appId), ignored);
}

bool ApplicationHelper::CloseApplication(std::wstring& name) {
    if (Core::HasNul(name)) return false;
    platform::Platform& platform = platform::Current();
    std::wstring location;
    if (!ToolRunner(platform).Run(Words::kArea, Words::kGetApplicationLocation, name, location, Words::kReply))
        return false;
    const Programs programs = Programs::Of(platform);
    // The location comes from lists of installed programs the user can write: the Windows
    // folder, a drive's root or a pattern would name the system's own processes.
    if (!Words::IsApplicationFolder(location, programs.windowsFolder)) {
        logger_->LogError(L"ApplicationHelper::CloseApplication - refusing to end processes in '%s': not an "
                          L"application's own folder",
                          location.c_str());
        return false;
    }
    const std::wstring executable = RunAsUser(programs.powerShell, Words::ProcessCommand(programs.powerShell, location));
    if (executable.empty()) return false;
    if (!Words::IsPlainExecutableName(executable)) {
        logger_->LogError(L"ApplicationHelper::CloseApplication - refusing to end '%s': not a plain executable name",
                          executable.c_str());
        return false;
    }
    // Ended as the user, in the user's session: a name shared with a process of the system's, or
    // of another session, ends none of those.
    UserSession user(platform);
    const uint32_t session = user.ConsoleSessionId();
    if (session == platform::IUserSession::kNoSession) return false;
    std::wstring ignored;
    return user.RunAsUserAndCapture(programs.taskKill, Words::TaskKillCommand(programs.taskKill, session, executable),
                                    ignored);
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
    const bool shown = ToolRunner::Ask(Words::kArea, Words::kReply, Words::kWriteToDoc, path).value_or(0) != 0;
    // The tool has shown a copy of its own, in the user's folder: the service's file goes.
    const auto removed = platform.Files().RemoveFile(path);
    if (!removed) Logging::LogApiError(logger_, "ApplicationHelper", "WriteToDoc", L"DeleteFileW", removed.Status());
    return shown;
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
