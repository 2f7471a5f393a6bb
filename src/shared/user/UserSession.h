#pragma once
// Acting in the name of the user at the console: the user's token, paths in the user's
// environment, files beside the module, and running a command line as the user.
#include <cstdint>
#include <functional>
#include <string>

#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// Where a file is looked for when it is not beside the module.
constexpr const wchar_t* kFallbackFolder = L"%ProgramFiles%\\DeviceControl";
// At most this many characters of a program's output are kept.
constexpr size_t kMaxCapturedChars = 511;

// This thread impersonates the token's user while it lives, and reverts on every way out,
// an exception's included. A failed revert is logged ("Problem while reverting the
// impersonation.") or handed to the caller's `revertFailed` with the system's status.
class ScopedImpersonation {
public:
    ScopedImpersonation(platform::IUserSession& user, platform::UserToken token,
                        std::function<void(int32_t status)> revertFailed = nullptr);
    ~ScopedImpersonation();
    ScopedImpersonation(const ScopedImpersonation&) = delete;
    ScopedImpersonation& operator=(const ScopedImpersonation&) = delete;

    // Whether the impersonation began, and the system's status when it did not.
    explicit operator bool() const { return started_.Ok(); }
    int32_t Status() const { return started_.Status(); }

private:
    platform::IUserSession& user_;
    platform::Result<void> started_;
    std::function<void(int32_t)> revertFailed_;
};

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
    // The session of the user at the console; IUserSession::kNoSession when there is none.
    uint32_t ConsoleSessionId();
    // Starts a store application's executable as the user. The package is looked up while
    // impersonating the user: the store answers for the thread's user, and the service's own
    // account has no such package.
    bool StartPackagedApplication(const std::wstring& packageFamilyName, const std::wstring& executable);

private:
    platform::Platform& platform_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
