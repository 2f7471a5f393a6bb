#include "shared/user/UserSession.h"

#include <algorithm>
#include <mutex>

#include "core/logging.h"
#include "core/strings.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

using Logging::LogManager;

ScopedImpersonation::ScopedImpersonation(platform::IUserSession& user, platform::UserToken token,
                                         std::function<void(int32_t)> revertFailed)
    : user_(user), started_(user.Impersonate(token)), revertFailed_(std::move(revertFailed)) {}

ScopedImpersonation::~ScopedImpersonation() {
    if (!started_) return;
    const auto reverted = user_.RevertImpersonation();
    if (reverted) return;
    if (revertFailed_)
        revertFailed_(reverted.Status());
    else
        LogManager::GetLogger()->LogError(L"Problem while reverting the impersonation.");
}

UserSession::UserSession() : UserSession(platform::Current()) {}

UserSession::UserSession(platform::Platform& platform) : platform_(platform) {}

bool UserSession::GetUserTokenForCurrentUser(platform::OwnedHandle& token) {
    auto found = UserToken();
    if (!found) return false;
    token = *found;
    return true;
}

platform::Result<platform::OwnedHandle> UserSession::UserToken() {
    constexpr int32_t kErrorNoToken = 1008;
    constexpr int32_t kErrorProcNotFound = 127;
    auto* logger = LogManager::GetLogger();
    platform::IUserSession& user = platform_.User();
    if (!user.SessionApiAvailable()) {
        logger->LogError(L"Problem in GetUserTokenForCurrentUser. Dependencies is not available in this platform.");
        return platform::Failure{kErrorProcNotFound};
    }
    logger->LogInfo(L"Attempting to impersonate logged in user.");
    uint32_t session = user.ActiveConsoleSessionId();
    if (session == platform::IUserSession::kNoSession) session = user.FindActiveSession();
    if (session == platform::IUserSession::kNoSession) {
        logger->LogError(
            L"Problem while detecting active console session ID. This could be caused if the business logic ran while "
            L"the user was not logged in.");
        return platform::Failure{kErrorNoToken};
    }
    auto sessionToken = user.QueryUserToken(session);
    if (!sessionToken) {
        logger->LogError(L"Problem while querying user's access token. Error code: %d", sessionToken.Status());
        return platform::Failure{sessionToken.Status()};
    }
    auto primary = user.DuplicatePrimaryToken(sessionToken->get());
    if (!primary) {
        logger->LogError(L"Problem while duplicating the user's access token.");
        return platform::Failure{primary.Status()};
    }
    return *primary;
}

std::wstring UserSession::ExpandForUser(const std::wstring& path) {
    auto* logger = LogManager::GetLogger();
    platform::OwnedHandle token;
    if (!GetUserTokenForCurrentUser(token)) return {};
    platform::IUserSession& user = platform_.User();
    platform::Result<std::wstring> expanded = platform::Failure{0};
    {
        ScopedImpersonation impersonation(user, token.get());
        if (!impersonation) {
            logger->LogError(L"Problem while impersonating logged in user.");
            return {};
        }
        expanded = user.ExpandForUser(token.get(), path);
    }
    if (!expanded) {
        logger->LogError(L"Problem while expanding path.");
        return {};
    }
    return platform_.Files().FullPath(*expanded).ValueOr(L"");
}

std::wstring UserSession::ResolveModuleFile(const std::wstring& fileName) {
    // The module's path as it fits a MAX_PATH buffer, without its file part.
    std::wstring folder = platform_.Files().ModulePath().ValueOr(L"").substr(0, 259);
    const size_t slash = folder.find_last_of(L"\\/");
    folder = slash == std::wstring::npos ? std::wstring() : folder.substr(0, slash);
    const std::wstring beside = folder + L"\\" + fileName;
    if (!folder.empty() && platform_.Files().FileExists(beside)) return beside;
    return platform_.Files().ExpandEnvironment(kFallbackFolder) + L"\\" + fileName;
}

bool UserSession::IsRealUserSession() {
    std::wstring profile = ExpandForUser(L"%userprofile%");
    if (profile.empty()) return false;
    // With a closing separator, a profile that is the folder itself ("...\Default") matches too.
    profile += L"\\";
    for (const wchar_t* marker : {L"\\system32\\", L"\\Default\\", L"\\defaultuser0"}) {
        if (profile.find(marker) != std::wstring::npos) return false;
    }
    return true;
}

bool UserSession::RunAsUserAndCapture(const std::wstring& applicationPath, const std::wstring& commandLine,
                                      std::wstring& output) {
    platform::OwnedHandle token;
    if (!GetUserTokenForCurrentUser(token)) return false;
    auto captured = platform_.Processes().RunAndCapture(token.get(), applicationPath, commandLine);
    if (!captured) return false;
    std::wstring text = Core::Widen(*captured);
    if (text.size() > kMaxCapturedChars) text.resize(kMaxCapturedChars);
    const size_t lineEnd = text.find(L"\r\n");
    if (lineEnd != std::wstring::npos) text.resize(lineEnd);
    output = text;
    return true;
}

bool UserSession::ImpersonateUser() {
    // One impersonation step at a time across the service, as the service's own mutex did.
    static std::mutex serviceMutex;
    std::lock_guard<std::mutex> lock(serviceMutex);
    auto* logger = LogManager::GetSystemInformationLogger();
    platform::IUserSession& user = platform_.User();
    if (!user.RunningAsSystem()) return false;
    logger->LogInfo(L"DeviceControlService::ImpersonateUser - Running as SYSTEM, impersonating user");
    platform::OwnedHandle token;
    const bool impersonated = GetUserTokenForCurrentUser(token) && user.Impersonate(token.get()).Ok();
    logger->LogInfo(impersonated ? L"DeviceControlService::ImpersonateUser ImpersonateLoggedOnUser successful"
                                 : L"DeviceControlService::ImpersonateUser ImpersonateLoggedOnUser failed");
    return impersonated;
}

bool UserSession::Revert() {
    if (platform_.User().RevertImpersonation()) return true;
    LogManager::GetLogger()->LogError(L"Problem while reverting the impersonation.");
    return false;
}

uint32_t UserSession::ConsoleSessionId() {
    platform::IUserSession& user = platform_.User();
    const uint32_t session = user.ActiveConsoleSessionId();
    return session != platform::IUserSession::kNoSession ? session : user.FindActiveSession();
}

bool UserSession::StartPackagedApplication(const std::wstring& packageFamilyName, const std::wstring& executable) {
    auto* logger = LogManager::GetLogger();
    platform::OwnedHandle token;
    if (!GetUserTokenForCurrentUser(token)) return false;
    platform::IUserSession& user = platform_.User();
    platform::Result<std::wstring> folder = platform::Failure{0};
    {
        ScopedImpersonation asTheUser(user, token.get());
        if (!asTheUser) {
            logger->LogError(L"Problem while impersonating logged in user.");
            return false;
        }
        folder = platform_.Processes().PackageFolder(packageFamilyName);
    }
    if (!folder) return false;
    const auto image = user.ExpandForUser(token.get(), *folder + L"\\" + executable);
    if (!image) {
        logger->LogError(L"Problem while expanding path.");
        return false;
    }
    return platform_.Processes().StartAsUser(token.get(), *image).Ok();
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
