#pragma once
#include <cstdint>
#include <string>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// The user at the console: session, token, impersonation, the user's environment.
class IUserSession {
public:
    static constexpr uint32_t kNoSession = 0xFFFFFFFF;

    virtual ~IUserSession() = default;
    // Whether the terminal-services session functions are there on this system.
    virtual bool SessionApiAvailable() = 0;
    virtual uint32_t ActiveConsoleSessionId() = 0;
    // An active session found by enumeration, or kNoSession.
    virtual uint32_t FindActiveSession() = 0;
    virtual Result<OwnedHandle> QueryUserToken(uint32_t sessionId) = 0;
    virtual Result<OwnedHandle> DuplicatePrimaryToken(UserToken token) = 0;
    // Whether the service's process runs as SYSTEM.
    virtual bool RunningAsSystem() = 0;
    // Whether the calling thread acts as SYSTEM: it does not while it impersonates someone.
    virtual bool ThreadRunsAsSystem() = 0;
    // Impersonation is per thread; the thread that began it reverts it.
    virtual Result<void> Impersonate(UserToken token) = 0;
    virtual Result<void> RevertImpersonation() = 0;
    // %VAR% expansion with the environment of the token's user.
    virtual Result<std::wstring> ExpandForUser(UserToken token, const std::wstring& text) = 0;
    // The other half of a split (UAC) token: the elevated token of a limited one and back.
    virtual Result<OwnedHandle> LinkedToken(UserToken token) = 0;
    // TOKEN_ELEVATION_TYPE: 1 no split token (a standard user, or UAC off), 2 the elevated
    // half, 3 the limited half of an administrator's token.
    virtual Result<int32_t> ElevationType(UserToken token) = 0;
};

}  // namespace Qv::platform
