#pragma once
#include <cstdint>
#include <string>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// The RPC call being served on the current thread, and the process behind it.
class IRpcCall {
public:
    virtual ~IRpcCall() = default;
    virtual Result<uint32_t> CallerProcessId() = 0;
    // The status of the current call as the RPC runtime reports it (1 cancelled, 2 the client
    // is gone); a failure when there is no call information.
    virtual Result<uint32_t> CallStatus() = 0;
    // The process opened for limited query access.
    virtual Result<OwnedHandle> OpenProcessForQuery(uint32_t processId) = 0;
    // A duplicate of another process handle with limited query access.
    virtual Result<OwnedHandle> DuplicateForQuery(void* processHandle) = 0;
    // Takes over a process handle another module handed over: closed when its last holder lets go.
    virtual OwnedHandle Adopt(void* processHandle) = 0;
    virtual Result<void> ImpersonateClient() = 0;
    virtual void RevertToSelf() = 0;
    // The package family name of a process; a failure when it belongs to no package.
    virtual Result<std::wstring> PackageFamilyName(void* processHandle) = 0;
};

}  // namespace Qv::platform
