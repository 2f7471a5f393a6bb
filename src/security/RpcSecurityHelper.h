#pragma once
// Which store package the process behind the current RPC call belongs to.
#include <cstdint>
#include <map>
#include <string>

#include "platform/platform.h"

namespace Qv::Bridge::Security {

class RpcSecurityHelper {
public:
    RpcSecurityHelper();
    explicit RpcSecurityHelper(platform::Platform& platform);

    // The caller's package family name; empty when it has none or it cannot be found (logged).
    // The thread is never left impersonating the client.
    std::wstring GetPFNOfCaller();

    // Fallback process handles by process id, for callers that cannot be opened directly.
    std::map<uint32_t, platform::OwnedHandle>& ProcessHandles() { return processHandles_; }

private:
    platform::Platform& platform_;
    std::map<uint32_t, platform::OwnedHandle> processHandles_;
};

// Files of the signed client manifest.
namespace ClientManifest {
constexpr const wchar_t* kBaseName = L"QVManifest";
constexpr const wchar_t* kExtensions[] = {L".xml", L".cat", L".p7s", L".qvc"};
constexpr const wchar_t* kCatalogs[] = {L"qvcustomcapcompx64.cat", L"qvcustomcapcompx86.cat"};
constexpr const wchar_t* kPublisherHash = L"k4m2x9trq7bw3";
}  // namespace ClientManifest

}  // namespace Qv::Bridge::Security
