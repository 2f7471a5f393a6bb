#include "platform/windows/WinWmiConnection.h"

namespace Qv::platform::windows {

com_ptr<IWbemServices> ConnectToWmi(const std::wstring& wmiNamespace, const char* operation,
                                    std::vector<WmiCallFailure>& failures) {
    // The process's COM security; a host that set it already answers RPC_E_TOO_LATE, which is fine.
    HRESULT hr = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                      RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (FAILED(hr) && hr != RPC_E_TOO_LATE) failures.push_back({operation, L"CoInitializeSecurity", hr});

    com_ptr<IWbemLocator> locator;
    hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                          reinterpret_cast<void**>(locator.put()));
    if (FAILED(hr)) {
        failures.push_back({operation, L"CoCreateInstance", hr});
        return {};
    }
    unique_bstr name(SysAllocString(wmiNamespace.c_str()));
    com_ptr<IWbemServices> services;
    hr = locator.get()->ConnectServer(name.get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.put());
    if (FAILED(hr)) {
        failures.push_back({operation, L"IWbemLocator->ConnectServer(WmiNamespace)", hr});
        return {};
    }
    hr = CoSetProxyBlanket(services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                           RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    if (FAILED(hr)) {
        failures.push_back({operation, L"CoSetProxyBlanket", hr});
        return {};
    }
    return services;
}

}  // namespace Qv::platform::windows
