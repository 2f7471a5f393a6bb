#pragma once
// Windows Runtime strings, and the runtime on a thread for the length of a call (interface
// pointers are com_ptr, in com.h).
#include <windows.h>
#include <roapi.h>
#include <winstring.h>

#include "platform/windows/raii/com.h"
#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void delete_hstring(HSTRING text) { ::WindowsDeleteString(text); }
}  // namespace detail

using unique_hstring = unique_any<HSTRING, &detail::delete_hstring>;

// The Windows Runtime (multithreaded) on this thread for the length of one call, balanced when
// it succeeded (S_FALSE included); RPC_E_CHANGED_MODE is not ours to undo.
class RuntimeScope {
public:
    RuntimeScope() : hr_(::RoInitialize(RO_INIT_MULTITHREADED)) {}
    ~RuntimeScope() {
        if (SUCCEEDED(hr_)) ::RoUninitialize();
    }
    RuntimeScope(const RuntimeScope&) = delete;
    RuntimeScope& operator=(const RuntimeScope&) = delete;

private:
    HRESULT hr_;
};

}  // namespace Qv::platform::windows
