#pragma once
#include <mutex>

#include "platform/IRpcCall.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The process on the other end of the simulated RPC call.
struct SimCaller {
    int32_t inquireStatus = 1725;  // RPC_S_NO_CALL_ACTIVE until a test puts a caller on the line
    uint32_t processId = 0;
    bool processAlive = true;        // false: OpenProcess fails
    std::wstring packageFamilyName;  // empty: an unpackaged process (APPMODEL_ERROR_NO_PACKAGE)
    int32_t impersonateStatus = 0;
    uint32_t callStatus = 0;  // 1: the call was cancelled, 2: the client is gone
};

class SimRpcCall : public platform::IRpcCall {
public:
    explicit SimRpcCall(SimWorld& world) : world_(world) {}

    platform::Result<uint32_t> CallerProcessId() override;
    platform::Result<uint32_t> CallStatus() override;
    platform::Result<platform::OwnedHandle> OpenProcessForQuery(uint32_t processId) override;
    platform::Result<platform::OwnedHandle> DuplicateForQuery(void* processHandle) override;
    platform::OwnedHandle Adopt(void* processHandle) override;
    platform::Result<void> ImpersonateClient() override;
    void RevertToSelf() override;
    platform::Result<std::wstring> PackageFamilyName(void* processHandle) override;

    void SetCaller(SimCaller caller);
    // A handle of a process the simulated system knows, counted while it is open.
    platform::OwnedHandle MakeProcessHandle(uint32_t processId);
    int OpenProcessHandles() const;

private:
    struct SimProcess {
        uint32_t processId;
    };

    SimWorld& world_;
    mutable std::mutex mutex_;
    SimCaller caller_;
    int openProcessHandles_ = 0;
};

}  // namespace Qv::Sim
