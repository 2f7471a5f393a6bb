#pragma once
// Windows.Foundation ABI declarations mingw-w64 lacks, from the public metadata.
#include <windows.h>
#include <inspectable.h>
#include <eventtoken.h>

namespace Qv::platform::windows::winrt {

// Windows.Foundation.EventHandler<Object>: a delegate (IUnknown, not IInspectable) whose one
// method is Invoke(sender, args). IID of the instance EventHandler`1<Object>.
constexpr GUID IID_EventHandler_Object = {0xc50898f6, 0xc536, 0x5f47, {0x85, 0x83, 0x8b, 0x2c, 0x24, 0x38, 0xa1, 0x3b}};

struct IEventHandlerObject : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Invoke(IInspectable* sender, IInspectable* args) = 0;
};

}  // namespace Qv::platform::windows::winrt
