#pragma once
// Acting in the name of the user at the console: the user's token, paths in the user's
// environment, files beside the module, and running a command line as the user.
#include <string>

#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// Where a file is looked for when it is not beside the module.
constexpr const wchar_t* kFallbackFolder = L"%ProgramFiles%\\DeviceControl";
// At most this many characters of a program's output are kept.
constexpr size_t kMaxCapturedChars = 511;

class UserSession {
public:
    UserSession();
    explicit UserSession(platform::Platform& platform);

    // The primary token of the user of the active console session; false (logged) when there is none.
    bool GetUserTokenForCurrentUser(platform::OwnedHandle& token);
    // The same, with the system's status of a failure (ERROR_NO_TOKEN when there is no session).
    platform::Result<platform::OwnedHandle> UserToken();
    // The path with the user's environment variables expanded, made absolute; empty on failure.
    std::wstring ExpandForUser(const std::wstring& path);
    // Full path of `fileName` in the module's own folder, or in the fallback folder when it is not there.
    std::wstring ResolveModuleFile(const std::wstring& fileName);
    // False for the system profile and for the accounts that run the first-run experience.
    bool IsRealUserSession();
    // Runs the command line as the user, waits, and gives back the first line of its output.
    bool RunAsUserAndCapture(const std::wstring& applicationPath, const std::wstring& commandLine,
                             std::wstring& output);
    // Impersonates the console user on this thread when the service runs as SYSTEM (logged as the
    // service's own step); the same thread ends it with Revert().
    bool ImpersonateUser();
    // Ends this thread's impersonation; a failure is logged and answered false.
    bool Revert();
    // Starts a store application's executable as the user.
    bool StartPackagedApplication(const std::wstring& packageFamilyName, const std::wstring& executable);

private:
    platform::Platform& platform_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
