#pragma once
#include "platform/IUserSession.h"

namespace Qv::platform::windows {

// The console session and its user: terminal-services functions (resolved at run time),
// tokens, impersonation, the user's environment.
class WinUserSession : public IUserSession {
public:
    bool SessionApiAvailable() override;
    uint32_t ActiveConsoleSessionId() override;
    uint32_t FindActiveSession() override;
    Result<OwnedHandle> QueryUserToken(uint32_t sessionId) override;
    Result<OwnedHandle> DuplicatePrimaryToken(UserToken token) override;
    bool RunningAsSystem() override;
    bool ThreadRunsAsSystem() override;
    Result<void> Impersonate(UserToken token) override;
    Result<void> RevertImpersonation() override;
    Result<std::wstring> ExpandForUser(UserToken token, const std::wstring& text) override;
    Result<OwnedHandle> LinkedToken(UserToken token) override;
    Result<int32_t> ElevationType(UserToken token) override;
};

}  // namespace Qv::platform::windows
