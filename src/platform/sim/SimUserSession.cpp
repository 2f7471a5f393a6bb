#include "platform/sim/SimUserSession.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorInvalidHandle = 6;
constexpr int32_t kErrorNoToken = 1008;
constexpr int32_t kErrorNoSuchLogonSession = 1312;
constexpr int32_t kElevationTypeDefault = 1;

platform::OwnedHandle MakeToken(int kind) {
    return platform::OwnedHandle(new int(kind), [](void* p) { delete static_cast<int*>(p); });
}

}  // namespace

uint32_t SimUserSession::ActiveConsoleSessionId() {
    if (world_.faults.Enter(SimPort::User)) return kNoSession;
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.signedIn ? 1 : kNoSession;
}

uint32_t SimUserSession::FindActiveSession() { return ActiveConsoleSessionId(); }

platform::Result<platform::OwnedHandle> SimUserSession::QueryUserToken(uint32_t sessionId) {
    QV_SIM_FAULT(world_.faults, User);
    if (sessionId == kNoSession) return platform::Failure{kErrorNoToken};
    return MakeToken(1);
}

platform::Result<platform::OwnedHandle> SimUserSession::DuplicatePrimaryToken(platform::UserToken token) {
    QV_SIM_FAULT(world_.faults, User);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    return MakeToken(2);
}

bool SimUserSession::RunningAsSystem() {
    if (world_.faults.Enter(SimPort::User)) return false;
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.runningAsSystem;
}

bool SimUserSession::ThreadRunsAsSystem() {
    if (world_.faults.Enter(SimPort::User)) return false;
    std::lock_guard<std::mutex> lock(world_.mutex);
    return ThreadUser(world_) == kSystemSid;
}

platform::Result<void> SimUserSession::Impersonate(platform::UserToken token) {
    QV_SIM_FAULT(world_.faults, User);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.impersonations[std::this_thread::get_id()] = world_.userSecurityId;  // the console user's token
    return platform::Success();
}

platform::Result<void> SimUserSession::RevertImpersonation() {
    QV_SIM_FAULT(world_.faults, User);
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.impersonations.erase(std::this_thread::get_id());
    return platform::Success();
}

platform::Result<std::wstring> SimUserSession::ExpandForUser(platform::UserToken token, const std::wstring& text) {
    QV_SIM_FAULT(world_.faults, User);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    return Expand(world_.userEnvironment, text);
}

platform::Result<platform::OwnedHandle> SimUserSession::LinkedToken(platform::UserToken token) {
    QV_SIM_FAULT(world_.faults, User);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    // A token without a second half (a standard user's) has no linked token.
    if (world_.userElevationType == kElevationTypeDefault) return platform::Failure{kErrorNoSuchLogonSession};
    return MakeToken(3);
}

platform::Result<int32_t> SimUserSession::ElevationType(platform::UserToken token) {
    QV_SIM_FAULT(world_.faults, User);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.userElevationType;
}

}  // namespace Qv::Sim
