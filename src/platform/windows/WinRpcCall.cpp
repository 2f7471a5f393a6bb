#include "platform/windows/WinRpcCall.h"

#include "core/logging.h"
#include "platform/windows/SystemDeclarations.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {

WinRpcCall::WinRpcCall() {
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    underWine_ = ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

Result<uint32_t> WinRpcCall::CallerProcessId() {
    if (underWine_) {
        Bridge::Logging::LogManager::GetLogger()->LogWarning(L"RpcSecurityHelper - no call information under Wine");
        return Failure{RPC_S_NO_CALL_ACTIVE};
    }
    sdk::RpcCallAttributesV3 attributes{};
    attributes.Version = 3;
    attributes.Flags = sdk::kRpcQueryClientPid;
    const RPC_STATUS status = RpcServerInqCallAttributesW(nullptr, &attributes);
    if (status != RPC_S_OK) return Failure{status};
    return static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(attributes.ClientPID));
}

Result<uint32_t> WinRpcCall::CallStatus() {
    if (underWine_) return Failure{RPC_S_NO_CALL_ACTIVE};
    // Version 2 and later report the call's status with every inquiry.
    sdk::RpcCallAttributesV3 attributes{};
    attributes.Version = 3;
    const RPC_STATUS status = RpcServerInqCallAttributesW(nullptr, &attributes);
    if (status != RPC_S_OK) return Failure{status};
    return static_cast<uint32_t>(attributes.CallStatus);
}

Result<OwnedHandle> WinRpcCall::OpenProcessForQuery(uint32_t processId) {
    unique_handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process) return Failure{static_cast<int32_t>(GetLastError())};
    return share_handle(std::move(process));
}

Result<OwnedHandle> WinRpcCall::DuplicateForQuery(void* processHandle) {
    unique_handle duplicate;
    if (!DuplicateHandle(GetCurrentProcess(), static_cast<HANDLE>(processHandle), GetCurrentProcess(), duplicate.put(),
                         PROCESS_QUERY_LIMITED_INFORMATION, FALSE, 0) ||
        !duplicate) {
        return Failure{static_cast<int32_t>(GetLastError())};
    }
    return share_handle(std::move(duplicate));
}

OwnedHandle WinRpcCall::Adopt(void* processHandle) {
    return share_handle(unique_handle(static_cast<HANDLE>(processHandle)));
}

Result<void> WinRpcCall::ImpersonateClient() {
    const RPC_STATUS status = underWine_ ? RPC_S_NO_CALL_ACTIVE : RpcImpersonateClient(nullptr);
    if (status != RPC_S_OK) return Failure{status};
    return Success();
}

void WinRpcCall::RevertToSelf() {
    if (!underWine_) RpcRevertToSelf();
}

Result<std::wstring> WinRpcCall::PackageFamilyName(void* processHandle) {
    static const auto getFamilyName =
        proc_address<sdk::GetPackageFamilyNameFn>(GetModuleHandleW(L"kernel32.dll"), "GetPackageFamilyName");
    if (getFamilyName == nullptr) return Failure{ERROR_PROC_NOT_FOUND};
    UINT32 length = 0;
    LONG result = getFamilyName(static_cast<HANDLE>(processHandle), &length, nullptr);
    if (result != ERROR_SUCCESS && result != ERROR_INSUFFICIENT_BUFFER) return Failure{result};
    std::wstring name(length, L'\0');
    result = getFamilyName(static_cast<HANDLE>(processHandle), &length, name.data());
    if (result != ERROR_SUCCESS) return Failure{result};
    name.resize(length > 0 ? length - 1 : 0);  // the length counts the terminator
    return name;
}

}  // namespace Qv::platform::windows
