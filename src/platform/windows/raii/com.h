#pragma once
// COM: interface pointers (also of the Windows Runtime), task memory, BSTR, VARIANT, SAFEARRAY.
#include <windows.h>
#include <oleauto.h>
#include <unknwn.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void cotaskmem_free(void* memory) { ::CoTaskMemFree(memory); }
inline void free_bstr(BSTR text) { ::SysFreeString(text); }
inline bool valid_variant(const VARIANT& v) { return v.vt != VT_EMPTY; }
inline void clear_variant(VARIANT& v) { ::VariantClear(&v); }
inline void destroy_safearray(SAFEARRAY* array) { ::SafeArrayDestroy(array); }
template <typename I>
void release_interface(I* pointer) {
    pointer->Release();
}
}  // namespace detail

using unique_cotaskmem = unique_any<void*, &detail::cotaskmem_free>;
using unique_bstr = unique_any<BSTR, &detail::free_bstr>;
using unique_variant = unique_any<VARIANT, &detail::clear_variant, &detail::valid_variant>;
using unique_safearray = unique_any<SAFEARRAY*, &detail::destroy_safearray>;
template <typename I>
using com_ptr = unique_any<I*, &detail::release_interface<I>>;  // COM and WinRT interfaces

}  // namespace Qv::platform::windows
