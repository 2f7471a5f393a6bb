#include "security/RpcSecurityHelper.h"

#include "core/logging.h"

namespace Qv::Bridge::Security {
namespace {

constexpr long kErrorSuccess = 0;
constexpr long kErrorAccessDenied = 5;
constexpr long kErrorInsufficientBuffer = 122;

struct SystemError {
    long code;
    const char* text;
};

// Reverts the client impersonation on every way out.
class RevertOnExit {
public:
    explicit RevertOnExit(platform::IRpcCall& rpc) : rpc_(rpc) {}
    ~RevertOnExit() { rpc_.RevertToSelf(); }
    RevertOnExit(const RevertOnExit&) = delete;
    RevertOnExit& operator=(const RevertOnExit&) = delete;

private:
    platform::IRpcCall& rpc_;
};

}  // namespace

RpcSecurityHelper::RpcSecurityHelper() : RpcSecurityHelper(platform::Current()) {}

RpcSecurityHelper::RpcSecurityHelper(platform::Platform& platform) : platform_(platform) {}

std::wstring RpcSecurityHelper::GetPFNOfCaller() {
    std::wstring result;
    platform::IRpcCall& rpc = platform_.Rpc();
    try {
        uint32_t processId = 0;
        const long status = rpc.InquireCallerProcessId(processId);
        if (status != 0) throw SystemError{status, "RpcServerInqCallAttributes failed"};

        platform::OwnedHandle process = rpc.OpenProcessForQuery(processId);
        if (!process) {
            auto known = processHandles_.find(processId);
            if (known != processHandles_.end() && known->second) process = rpc.DuplicateForQuery(known->second.get());
        }
        if (!process) throw SystemError{kErrorAccessDenied, "OpenProcess yielded null or invalid handle"};

        const long impersonated = rpc.ImpersonateClient();
        if (impersonated != 0) throw SystemError{impersonated, "Failed to impersonate client"};
        RevertOnExit revert(rpc);

        uint32_t length = 0;
        const long sized = rpc.GetPackageFamilyName(process.get(), length, nullptr);
        if (sized != kErrorSuccess && sized != kErrorInsufficientBuffer) throw SystemError{sized, "GetPackageFamilyName failed"};

        std::wstring name(length, L'\0');
        if (rpc.GetPackageFamilyName(process.get(), length, name.data()) != kErrorSuccess) throw kErrorAccessDenied;
        // Only the visible characters: the terminator and any embedded NUL go.
        for (wchar_t c : name)
            if (c != L'\0') result += c;
    } catch (const SystemError& error) {
        result.clear();
        Logging::LogManager::GetLogger()->LogError(L"RpcSecurityHelper::GetPFNOfCaller - %S, Status: %ld",
                                                   error.text != nullptr ? error.text : "Unknown exception", error.code);
    } catch (long code) {
        result.clear();
        Logging::LogManager::GetLogger()->LogError(L"RpcSecurityHelper::GetPFNOfCaller - Caught error %ld", code);
    }
    return result;
}

}  // namespace Qv::Bridge::Security
