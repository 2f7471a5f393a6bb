// The WMI access layer: connect to a namespace, query a class, read one property per instance.
#include "platform/windows/WinWmi.h"

#include <windows.h>
#include <wbemidl.h>

#include "platform/windows/WinWmiConnection.h"
#include "platform/windows/raii/com.h"

namespace Qv::platform::windows {
namespace {

// One converted value, or nullopt for a type the module does not keep.
std::optional<WmiValue> Convert(const VARIANT& value, std::vector<WmiCallFailure>& failures) {
    switch (value.vt) {
        case VT_I4: return WmiValue(static_cast<int32_t>(value.lVal));
        case VT_BSTR: return WmiValue(std::wstring(value.bstrVal != nullptr ? value.bstrVal : L""));
        case VT_BOOL: return WmiValue(value.boolVal != VARIANT_FALSE);
        default: break;
    }
    if ((value.vt & VT_ARRAY) == 0 || value.parray == nullptr) return std::nullopt;
    SAFEARRAY* array = value.parray;
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    switch (value.vt & ~VT_ARRAY) {
        case VT_UI1: {
            void* data = nullptr;
            HRESULT hr = SafeArrayAccessData(array, &data);
            if (FAILED(hr)) {
                failures.push_back({"GetSafeArrayData", L"SafeArrayAccessData(VT_ARRAY | VT_UI1)", hr});
                return std::nullopt;
            }
            std::vector<int32_t> bytes;
            for (LONG i = 0; i <= upper - lower; ++i) bytes.push_back(static_cast<const uint8_t*>(data)[i]);
            hr = SafeArrayUnaccessData(array);
            if (FAILED(hr)) failures.push_back({"GetSafeArrayData", L"SafeArrayUnaccessData", hr});
            return WmiValue(std::move(bytes));
        }
        case VT_I4: {
            std::vector<int32_t> items;
            for (LONG i = lower; i <= upper; ++i) {
                LONG item = 0;
                if (SUCCEEDED(SafeArrayGetElement(array, &i, &item))) items.push_back(item);
            }
            return WmiValue(std::move(items));
        }
        case VT_BSTR: {
            std::vector<std::wstring> items;
            for (LONG i = lower; i <= upper; ++i) {
                unique_bstr item;
                if (SUCCEEDED(SafeArrayGetElement(array, &i, item.put())))
                    items.emplace_back(item.get() != nullptr ? item.get() : L"");
            }
            return WmiValue(std::move(items));
        }
        case VT_BOOL: {
            std::vector<bool> items;
            for (LONG i = lower; i <= upper; ++i) {
                VARIANT_BOOL item = VARIANT_FALSE;
                if (SUCCEEDED(SafeArrayGetElement(array, &i, &item))) items.push_back(item != VARIANT_FALSE);
            }
            return WmiValue(std::move(items));
        }
        default: return std::nullopt;
    }
}

}  // namespace

WmiPropertyRead WinWmi::ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                     const std::wstring& condition, const std::wstring& property) {
    WmiPropertyRead read;
    ComScope com(COINIT_MULTITHREADED);
    if (!com) {
        read.failures.push_back({"GetPropertyValue", L"CoInitializeEx", com.Result()});
        return read;
    }
    com_ptr<IWbemServices> services = ConnectToWmi(wmiNamespace, "ConnectToWmi", read.failures);
    if (!services) return read;

    // EnumClassObject: each piece of the query is bounded as the module's buffers were.
    std::wstring query = L"SELECT * FROM " + className.substr(0, 1024);
    if (!condition.empty()) query += L" WHERE " + condition.substr(0, 1024);
    unique_bstr language(SysAllocString(L"WQL"));
    unique_bstr text(SysAllocString(query.c_str()));
    if (!language || !text) {
        read.failures.push_back({"EnumClassObject", L"SysAllocString", E_OUTOFMEMORY});
        return read;
    }
    com_ptr<IEnumWbemClassObject> instances;
    HRESULT hr = services.get()->ExecQuery(language.get(), text.get(),
                                           WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                           instances.put());
    if (FAILED(hr)) {
        read.failures.push_back({"EnumClassObject", L"IWbemServices->ExecQuery", hr});
        return read;
    }

    // GetPropertyValue: one value per instance, until the enumeration ends or a call fails.
    while (true) {
        com_ptr<IWbemClassObject> instance;
        ULONG returned = 0;
        hr = instances.get()->Next(WBEM_INFINITE, 1, instance.put(), &returned);
        if (FAILED(hr)) {
            read.failures.push_back({"GetPropertyValue", L"IEnumWbemClassObject->Next", hr});
            break;
        }
        if (returned == 0) break;
        unique_variant value;
        hr = instance.get()->Get(property.c_str(), 0, value.put(), nullptr, nullptr);
        if (FAILED(hr)) {
            read.failures.push_back({"GetPropertyValue", L"IWbemClassObject->Get", hr});
            break;
        }
        if (auto converted = Convert(value.get(), read.failures)) read.values.push_back(std::move(*converted));
    }
    return read;
}

}  // namespace Qv::platform::windows
