#include "platform/sim/SimRpcCall.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorAccessDenied = 5;
constexpr int32_t kAppModelErrorNoPackage = 15700;

}  // namespace

void SimRpcCall::SetCaller(SimCaller caller) {
    std::lock_guard<std::mutex> lock(mutex_);
    caller_ = std::move(caller);
}

platform::OwnedHandle SimRpcCall::MakeProcessHandle(uint32_t processId) { return Adopt(new SimProcess{processId}); }

int SimRpcCall::OpenProcessHandles() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return openProcessHandles_;
}

platform::Result<uint32_t> SimRpcCall::CallerProcessId() {
    QV_SIM_FAULT(world_.faults, Rpc);
    std::lock_guard<std::mutex> lock(mutex_);
    if (caller_.inquireStatus != 0) return platform::Failure{caller_.inquireStatus};
    return caller_.processId;
}

platform::Result<uint32_t> SimRpcCall::CallStatus() {
    QV_SIM_FAULT(world_.faults, Rpc);
    std::lock_guard<std::mutex> lock(mutex_);
    if (caller_.inquireStatus != 0) return platform::Failure{caller_.inquireStatus};
    return caller_.callStatus;
}

platform::Result<platform::OwnedHandle> SimRpcCall::OpenProcessForQuery(uint32_t processId) {
    QV_SIM_FAULT(world_.faults, Rpc);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!caller_.processAlive || processId != caller_.processId) return platform::Failure{kErrorAccessDenied};
    }
    return MakeProcessHandle(processId);
}

platform::Result<platform::OwnedHandle> SimRpcCall::DuplicateForQuery(void* processHandle) {
    QV_SIM_FAULT(world_.faults, Rpc);
    if (processHandle == nullptr) return platform::Failure{kErrorAccessDenied};
    return MakeProcessHandle(static_cast<SimProcess*>(processHandle)->processId);
}

platform::OwnedHandle SimRpcCall::Adopt(void* processHandle) {
    if (processHandle == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    ++openProcessHandles_;
    return platform::OwnedHandle(processHandle, [this](void* p) {
        delete static_cast<SimProcess*>(p);
        std::lock_guard<std::mutex> inner(mutex_);
        --openProcessHandles_;
    });
}

platform::Result<void> SimRpcCall::ImpersonateClient() {
    QV_SIM_FAULT(world_.faults, Rpc);
    int32_t status = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        status = caller_.impersonateStatus;
    }
    if (status != 0) return platform::Failure{status};
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.impersonations[std::this_thread::get_id()] = world_.userSecurityId;  // the client runs as the user
    return platform::Success();
}

void SimRpcCall::RevertToSelf() {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.impersonations.erase(std::this_thread::get_id());
}

platform::Result<std::wstring> SimRpcCall::PackageFamilyName(void* processHandle) {
    QV_SIM_FAULT(world_.faults, Rpc);
    std::lock_guard<std::mutex> lock(mutex_);
    if (processHandle == nullptr || static_cast<SimProcess*>(processHandle)->processId != caller_.processId ||
        caller_.packageFamilyName.empty()) {
        return platform::Failure{kAppModelErrorNoPackage};
    }
    return caller_.packageFamilyName;
}

}  // namespace Qv::Sim
