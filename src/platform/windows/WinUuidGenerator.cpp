#include "platform/windows/WinUuidGenerator.h"

#include "platform/windows/raii/rpc.h"

namespace Qv::platform::windows {

Result<std::wstring> WinUuidGenerator::NewUuidString() {
    UUID uuid{};
    RPC_STATUS status = UuidCreate(&uuid);
    if (status != RPC_S_OK) return Failure{status};
    unique_rpc_string text;
    status = UuidToStringW(&uuid, text.put());
    if (status != RPC_S_OK || !text) return Failure{status != RPC_S_OK ? status : RPC_S_OUT_OF_MEMORY};
    return std::wstring(reinterpret_cast<wchar_t*>(text.get()));
}

}  // namespace Qv::platform::windows
