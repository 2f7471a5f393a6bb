#pragma once
// Windows Runtime strings (interface pointers are com_ptr, in com.h).
#include <windows.h>
#include <winstring.h>

#include "platform/windows/raii/com.h"
#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void delete_hstring(HSTRING text) { ::WindowsDeleteString(text); }
}  // namespace detail

using unique_hstring = unique_any<HSTRING, &detail::delete_hstring>;

}  // namespace Qv::platform::windows
