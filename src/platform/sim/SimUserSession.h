#pragma once
#include "platform/IUserSession.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The world's signed-in user: session 1 while signed in, none otherwise.
class SimUserSession : public platform::IUserSession {
public:
    explicit SimUserSession(SimWorld& world) : world_(world) {}

    bool SessionApiAvailable() override { return true; }
    uint32_t ActiveConsoleSessionId() override;
    uint32_t FindActiveSession() override;
    platform::Result<platform::OwnedHandle> QueryUserToken(uint32_t sessionId) override;
    platform::Result<platform::OwnedHandle> DuplicatePrimaryToken(platform::UserToken token) override;
    bool RunningAsSystem() override;
    bool ThreadRunsAsSystem() override;
    platform::Result<void> Impersonate(platform::UserToken token) override;
    platform::Result<void> RevertImpersonation() override;
    platform::Result<std::wstring> ExpandForUser(platform::UserToken token, const std::wstring& text) override;
    // The user's token is the limited half of an administrator's (3) unless the world says otherwise.
    platform::Result<platform::OwnedHandle> LinkedToken(platform::UserToken token) override;
    platform::Result<int32_t> ElevationType(platform::UserToken token) override;

private:
    SimWorld& world_;
};

}  // namespace Qv::Sim
