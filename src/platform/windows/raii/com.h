#pragma once
// COM: interface pointers (also of the Windows Runtime), task memory, BSTR, VARIANT, PROPVARIANT,
// SAFEARRAY, and COM on a thread for the length of a call.
#include <windows.h>
#include <oleauto.h>
#include <propidl.h>
#include <unknwn.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void cotaskmem_free(void* memory) { ::CoTaskMemFree(memory); }
inline void free_bstr(BSTR text) { ::SysFreeString(text); }
inline bool valid_variant(const VARIANT& v) { return v.vt != VT_EMPTY; }
inline void clear_variant(VARIANT& v) { ::VariantClear(&v); }
inline void destroy_safearray(SAFEARRAY* array) { ::SafeArrayDestroy(array); }
inline bool valid_propvariant(const PROPVARIANT& v) { return v.vt != VT_EMPTY; }
inline void clear_propvariant(PROPVARIANT& v) { ::PropVariantClear(&v); }
template <typename I>
void release_interface(I* pointer) {
    pointer->Release();
}
}  // namespace detail

using unique_cotaskmem = unique_any<void*, &detail::cotaskmem_free>;
using unique_bstr = unique_any<BSTR, &detail::free_bstr>;
using unique_variant = unique_any<VARIANT, &detail::clear_variant, &detail::valid_variant>;
using unique_safearray = unique_any<SAFEARRAY*, &detail::destroy_safearray>;
using unique_propvariant = unique_any<PROPVARIANT, &detail::clear_propvariant, &detail::valid_propvariant>;
template <typename I>
using com_ptr = unique_any<I*, &detail::release_interface<I>>;  // COM and WinRT interfaces

// COM on this thread until the scope ends, in the apartment asked for (CoInitialize is the
// single-threaded one); balanced when it succeeded (S_FALSE, already initialised, included). A
// failure such as RPC_E_CHANGED_MODE is not ours to undo.
class ComScope {
public:
    explicit ComScope(DWORD apartment) : result_(::CoInitializeEx(nullptr, apartment)) {}
    ~ComScope() {
        if (SUCCEEDED(result_)) ::CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
    explicit operator bool() const { return SUCCEEDED(result_); }
    HRESULT Result() const { return result_; }

private:
    HRESULT result_;
};

}  // namespace Qv::platform::windows
