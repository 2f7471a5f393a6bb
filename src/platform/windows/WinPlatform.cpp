#include "platform/windows/WinPlatform.h"

#include <windows.h>
#include <rpc.h>

#include "platform/windows/raii.h"

namespace Qv::platform::windows {

std::wstring WinUuidGenerator::NewUuidString() {
    UUID uuid{};
    if (UuidCreate(&uuid) != RPC_S_OK) return {};
    RPC_WSTR text = nullptr;
    if (UuidToStringW(&uuid, &text) != RPC_S_OK || text == nullptr) return {};
    std::wstring result(reinterpret_cast<wchar_t*>(text));
    RpcStringFreeW(&text);
    return result;
}

void WinNamedEvents::Close(EventHandle handle) {
    if (handle != nullptr) ::CloseHandle(static_cast<HANDLE>(handle));
}

}  // namespace Qv::platform::windows
