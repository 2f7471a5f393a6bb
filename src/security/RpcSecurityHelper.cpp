#include "security/RpcSecurityHelper.h"

#include "core/logging.h"

namespace Qv::Bridge::Security {
namespace {

constexpr long kErrorAccessDenied = 5;

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
        const auto processId = rpc.CallerProcessId();
        if (!processId) throw SystemError{processId.Status(), "RpcServerInqCallAttributes failed"};

        platform::OwnedHandle process = rpc.OpenProcessForQuery(*processId).ValueOr(nullptr);
        if (!process) {
            auto known = processHandles_.find(*processId);
            if (known != processHandles_.end() && known->second)
                process = rpc.DuplicateForQuery(known->second.get()).ValueOr(nullptr);
        }
        if (!process) throw SystemError{kErrorAccessDenied, "OpenProcess yielded null or invalid handle"};

        const auto impersonated = rpc.ImpersonateClient();
        if (!impersonated) throw SystemError{impersonated.Status(), "Failed to impersonate client"};
        RevertOnExit revert(rpc);

        const auto name = rpc.PackageFamilyName(process.get());
        if (!name) throw SystemError{name.Status(), "GetPackageFamilyName failed"};
        // Only the visible characters: any embedded NUL goes.
        for (wchar_t c : *name)
            if (c != L'\0') result += c;
    } catch (const SystemError& error) {
        result.clear();
        Logging::LogManager::GetLogger()->LogError(L"RpcSecurityHelper::GetPFNOfCaller - %S, Status: %ld",
                                                   error.text != nullptr ? error.text : "Unknown exception", error.code);
    }
    return result;
}

}  // namespace Qv::Bridge::Security
