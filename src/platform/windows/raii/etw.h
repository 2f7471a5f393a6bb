#pragma once
// The ETW provider registration.
#include <windows.h>
#include <evntprov.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void unregister_provider(REGHANDLE handle) { ::EventUnregister(handle); }
}  // namespace detail

using unique_etw_provider = unique_any<REGHANDLE, &detail::unregister_provider>;

}  // namespace Qv::platform::windows
