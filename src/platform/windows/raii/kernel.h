#pragma once
// Kernel objects and tokens, registry keys, modules, process start-up state, LocalFree memory,
// service control handles.
#include <windows.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline bool valid_handle(HANDLE h) { return h != nullptr && h != INVALID_HANDLE_VALUE; }
inline void close_handle(HANDLE h) { ::CloseHandle(h); }
// For the few callers that report a failed close.
inline bool close_handle_checked(HANDLE h) { return ::CloseHandle(h) != FALSE; }
inline void close_key(HKEY key) { ::RegCloseKey(key); }
inline void free_library(HMODULE module) { ::FreeLibrary(module); }
inline void delete_attribute_list(LPPROC_THREAD_ATTRIBUTE_LIST list) { ::DeleteProcThreadAttributeList(list); }
inline bool valid_process(const PROCESS_INFORMATION& p) { return valid_handle(p.hProcess) || valid_handle(p.hThread); }
inline void close_process(const PROCESS_INFORMATION& p) {
    if (valid_handle(p.hThread)) ::CloseHandle(p.hThread);
    if (valid_handle(p.hProcess)) ::CloseHandle(p.hProcess);
}
inline void local_free(void* memory) { ::LocalFree(memory); }
inline void close_service_handle(SC_HANDLE handle) { ::CloseServiceHandle(handle); }
inline void find_close(HANDLE search) { ::FindClose(search); }
}  // namespace detail

using unique_handle = unique_any<HANDLE, &detail::close_handle, &detail::valid_handle>;  // kernel objects, tokens
using unique_hkey = unique_any<HKEY, &detail::close_key>;
using unique_hmodule = unique_any<HMODULE, &detail::free_library>;
using unique_attribute_list = unique_any<LPPROC_THREAD_ATTRIBUTE_LIST, &detail::delete_attribute_list>;
using unique_process_information =
    unique_any<PROCESS_INFORMATION, &detail::close_process, &detail::valid_process>;
using unique_hlocal = unique_any<void*, &detail::local_free>;
using unique_schandle = unique_any<SC_HANDLE, &detail::close_service_handle>;  // service manager and services
using unique_find = unique_any<HANDLE, &detail::find_close, &detail::valid_handle>;  // FindFirstFileW

// A kernel handle handed to the logic as a shared owner (ports speak in OwnedHandle); null
// when the handle is not valid.
inline std::shared_ptr<void> share_handle(unique_handle handle) {
    if (!handle) return nullptr;
    return std::shared_ptr<void>(handle.release(), &detail::close_handle);
}

// A function exported by a loaded module, typed; null when it is not there.
template <typename Fn>
Fn proc_address(HMODULE module, const char* name) {
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace Qv::platform::windows
