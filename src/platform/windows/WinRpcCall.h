#pragma once
#include "platform/IRpcCall.h"

namespace Qv::platform::windows {

// The RPC runtime's view of the current call. Wine has no call information (its
// RpcServerInqCallAttributesW ends the process), so under Wine there is never a caller.
class WinRpcCall : public IRpcCall {
public:
    WinRpcCall();
    Result<uint32_t> CallerProcessId() override;
    Result<uint32_t> CallStatus() override;
    Result<OwnedHandle> OpenProcessForQuery(uint32_t processId) override;
    Result<OwnedHandle> DuplicateForQuery(void* processHandle) override;
    OwnedHandle Adopt(void* processHandle) override;
    Result<void> ImpersonateClient() override;
    void RevertToSelf() override;
    Result<std::wstring> PackageFamilyName(void* processHandle) override;

private:
    bool underWine_ = false;
};

}  // namespace Qv::platform::windows
