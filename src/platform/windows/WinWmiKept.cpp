// Kept WMI connections: made once, in the multithreaded apartment, and used by any thread later.
#include <windows.h>
#include <wbemidl.h>

#include <new>

#include "platform/windows/WinWmi.h"
#include "platform/windows/raii/com.h"

namespace Qv::platform::windows {
namespace {

class KeptConnection final : public IWmiConnection {
public:
    explicit KeptConnection(com_ptr<IWbemServices> services) : services_(std::move(services)) {}
    ~KeptConnection() override {
        ComScope com(COINIT_MULTITHREADED);
        services_.reset();
    }

    Result<int32_t> FirstInteger(const std::wstring& query, const std::wstring& property) override {
        ComScope com(COINIT_MULTITHREADED);
        auto first = First(query);
        if (!first) return Failure{first.Status()};
        unique_variant value;
        const HRESULT hr = first->get()->Get(property.c_str(), 0, value.put(), nullptr, nullptr);
        if (FAILED(hr)) return Failure{hr};
        unique_variant converted;
        if (FAILED(VariantChangeType(converted.put(), const_cast<VARIANT*>(&value.get()), 0, VT_I4))) return Failure{static_cast<int32_t>(WBEM_E_TYPE_MISMATCH)};
        return static_cast<int32_t>(converted.get().lVal);
    }

    Result<void> ExecMethodOnFirst(const std::wstring& query, const std::wstring& className, const std::wstring& method,
                                   const std::vector<WmiMethodArgument>& inputs) override {
        ComScope com(COINIT_MULTITHREADED);
        auto first = First(query);
        if (!first) return Failure{first.Status()};
        com_ptr<IWbemClassObject> classObject;
        unique_bstr classPath(SysAllocString(className.c_str()));
        HRESULT hr = services_.get()->GetObject(classPath.get(), 0, nullptr, classObject.put(), nullptr);
        if (FAILED(hr)) return Failure{hr};
        com_ptr<IWbemClassObject> signature;
        if (FAILED(hr = classObject.get()->GetMethod(method.c_str(), 0, signature.put(), nullptr))) return Failure{hr};
        if (!signature) return Failure{static_cast<int32_t>(WBEM_E_INVALID_METHOD_PARAMETERS)};
        com_ptr<IWbemClassObject> parameters;
        if (FAILED(hr = signature.get()->SpawnInstance(0, parameters.put()))) return Failure{hr};
        for (const WmiMethodArgument& input : inputs) {
            unique_variant value;
            VARIANT* text = value.put();
            text->vt = VT_BSTR;
            text->bstrVal = SysAllocString(input.value.c_str());
            if (FAILED(hr = parameters.get()->Put(input.name.c_str(), 0, const_cast<VARIANT*>(&value.get()), input.cimType))) return Failure{hr};
        }
        unique_variant path;
        if (FAILED(hr = first->get()->Get(L"__PATH", 0, path.put(), nullptr, nullptr))) return Failure{hr};
        if (path.get().vt != VT_BSTR) return Failure{static_cast<int32_t>(WBEM_E_INVALID_OBJECT_PATH)};
        unique_bstr methodName(SysAllocString(method.c_str()));
        hr = services_.get()->ExecMethod(path.get().bstrVal, methodName.get(), 0, nullptr, parameters.get(), nullptr,
                                         nullptr);
        if (FAILED(hr)) return Failure{hr};
        return Success();
    }

private:
    Result<com_ptr<IWbemClassObject>> First(const std::wstring& query) {
        unique_bstr language(SysAllocString(L"WQL"));
        unique_bstr text(SysAllocString(query.c_str()));
        com_ptr<IEnumWbemClassObject> results;
        HRESULT hr = services_.get()->ExecQuery(language.get(), text.get(),
                                                WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                                results.put());
        if (FAILED(hr)) return Failure{hr};
        com_ptr<IWbemClassObject> object;
        ULONG returned = 0;
        hr = results.get()->Next(WBEM_INFINITE, 1, object.put(), &returned);
        if (FAILED(hr)) return Failure{hr};
        if (returned == 0 || !object) return Failure{static_cast<int32_t>(WBEM_E_NOT_FOUND)};
        return object;
    }

    com_ptr<IWbemServices> services_;
};

}  // namespace

WmiConnectResult WinWmi::Connect(const std::wstring& wmiNamespace) {
    WmiConnectResult result;
    ComScope com(COINIT_MULTITHREADED);
    if (!com) {
        result.failedStep = WmiConnectStep::ComInit;
        result.hresult = com.Result();
        return result;
    }
    HRESULT hr = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                      RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    // Security set already in the process (by the host, or an earlier call) is fine.
    if (FAILED(hr) && hr != RPC_E_TOO_LATE) {
        result.failedStep = WmiConnectStep::Security;
        result.hresult = hr;
        return result;
    }
    com_ptr<IWbemLocator> locator;
    hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                          reinterpret_cast<void**>(locator.put()));
    if (FAILED(hr)) {
        result.failedStep = WmiConnectStep::Locator;
        result.hresult = hr;
        return result;
    }
    unique_bstr name(SysAllocString(wmiNamespace.c_str()));
    if (!name) throw std::bad_alloc();
    com_ptr<IWbemServices> services;
    hr = locator.get()->ConnectServer(name.get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.put());
    if (FAILED(hr)) {
        result.failedStep = WmiConnectStep::ConnectServer;
        result.hresult = hr;
        return result;
    }
    hr = CoSetProxyBlanket(services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                           RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    if (FAILED(hr)) {
        result.failedStep = WmiConnectStep::ProxyBlanket;
        result.hresult = hr;
        return result;
    }
    result.connection = std::make_unique<KeptConnection>(std::move(services));
    return result;
}

}  // namespace Qv::platform::windows
