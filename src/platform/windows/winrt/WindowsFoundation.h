#pragma once
// Windows.Foundation ABI declarations mingw-w64 lacks, from the public metadata.
#include <windows.h>
#include <inspectable.h>
#include <eventtoken.h>
#include <roapi.h>
#include <winstring.h>

#include <cwchar>
#include <string>

namespace Qv::platform::windows::winrt {

// Windows.Foundation.EventHandler<Object>: a delegate (IUnknown, not IInspectable) whose one
// method is Invoke(sender, args). IID of the instance EventHandler`1<Object>.
constexpr GUID IID_EventHandler_Object = {0xc50898f6, 0xc536, 0x5f47, {0x85, 0x83, 0x8b, 0x2c, 0x24, 0x38, 0xa1, 0x3b}};

struct IEventHandlerObject : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Invoke(IInspectable* sender, IInspectable* args) = 0;
};

// The activation factory (or statics) of a runtime class, as `iid`.
inline HRESULT ActivationFactory(const wchar_t* className, REFIID iid, void** factory) {
    HSTRING_HEADER header{};
    HSTRING name = nullptr;
    const HRESULT hr =
        WindowsCreateStringReference(className, static_cast<UINT32>(std::wcslen(className)), &header, &name);
    if (FAILED(hr)) return hr;
    return RoGetActivationFactory(name, iid, factory);
}

// A string reference to `text` for one call (no copy; `text` must outlive it).
class StringReference {
public:
    explicit StringReference(const std::wstring& text) {
        if (FAILED(WindowsCreateStringReference(text.c_str(), static_cast<UINT32>(text.size()), &header_, &string_)))
            string_ = nullptr;
    }
    HSTRING get() const { return string_; }

private:
    HSTRING_HEADER header_{};
    HSTRING string_ = nullptr;
};

inline std::wstring ToWide(HSTRING text) {
    UINT32 length = 0;
    const wchar_t* buffer = WindowsGetStringRawBuffer(text, &length);
    return std::wstring(buffer != nullptr ? buffer : L"", length);
}

}  // namespace Qv::platform::windows::winrt
