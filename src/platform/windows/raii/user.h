#pragma once
// The user's environment block and terminal-services memory.
#include <windows.h>
#include <userenv.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void destroy_environment(void* block) { ::DestroyEnvironmentBlock(block); }
void wts_free(void* memory);  // WTSFreeMemory, resolved at run time (WinUserSession.cpp)
}  // namespace detail

using unique_environment = unique_any<void*, &detail::destroy_environment>;
using unique_wts_memory = unique_any<void*, &detail::wts_free>;

}  // namespace Qv::platform::windows
