#pragma once
// Owners for Windows resources: one generic owner and one line per kind of resource. Adapters
// keep no raw resource past the statement that obtained it, and no closing call appears outside
// this file.
#include <windows.h>
#include <oleauto.h>
#include <rpc.h>
#include <evntprov.h>
#include <bcrypt.h>
#include <wintrust.h>
#include <mscat.h>
#include <userenv.h>
#include <unknwn.h>
#include <winstring.h>

#include <memory>
#include <utility>

namespace Qv::platform::windows {

// Calls a function when the scope ends, unless released.
template <typename F>
class scope_exit {
public:
    explicit scope_exit(F f) : f_(std::move(f)) {}
    ~scope_exit() {
        if (armed_) f_();
    }
    scope_exit(const scope_exit&) = delete;
    scope_exit& operator=(const scope_exit&) = delete;
    void release() { armed_ = false; }

private:
    F f_;
    bool armed_ = true;
};

namespace detail {
template <typename T>
bool not_empty(const T& value) {
    return value != T{};
}
}  // namespace detail

// Owns one resource of type T, ends it with Close(T) and knows an empty one by IsValid(T).
// Move-only; put() hands the address of the slot to a function that fills it.
template <typename T, auto Close, auto IsValid = &detail::not_empty<T>>
class unique_any {
public:
    unique_any() = default;
    explicit unique_any(T value) : value_(std::move(value)) {}
    ~unique_any() { reset(); }
    unique_any(unique_any&& other) noexcept : value_(other.release()) {}
    unique_any& operator=(unique_any&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    unique_any(const unique_any&) = delete;
    unique_any& operator=(const unique_any&) = delete;

    const T& get() const { return value_; }
    T* put() {
        reset();
        return &value_;
    }
    explicit operator bool() const { return IsValid(value_); }
    T release() { return std::exchange(value_, T{}); }
    void reset(T value = T{}) {
        if (IsValid(value_)) Close(value_);
        value_ = std::move(value);
    }

private:
    T value_{};
};

namespace detail {
inline bool valid_handle(HANDLE h) { return h != nullptr && h != INVALID_HANDLE_VALUE; }
inline void close_handle(HANDLE h) { ::CloseHandle(h); }
// For the few callers that report a failed close.
inline bool close_handle_checked(HANDLE h) { return ::CloseHandle(h) != FALSE; }
inline void close_key(HKEY key) { ::RegCloseKey(key); }
inline void free_library(HMODULE module) { ::FreeLibrary(module); }
inline void destroy_environment(void* block) { ::DestroyEnvironmentBlock(block); }
inline void delete_attribute_list(LPPROC_THREAD_ATTRIBUTE_LIST list) { ::DeleteProcThreadAttributeList(list); }
inline bool valid_process(const PROCESS_INFORMATION& p) { return valid_handle(p.hProcess) || valid_handle(p.hThread); }
inline void close_process(const PROCESS_INFORMATION& p) {
    if (valid_handle(p.hThread)) ::CloseHandle(p.hThread);
    if (valid_handle(p.hProcess)) ::CloseHandle(p.hProcess);
}
inline void free_rpc_string(RPC_WSTR text) { ::RpcStringFreeW(&text); }
inline void local_free(void* memory) { ::LocalFree(memory); }
inline void cotaskmem_free(void* memory) { ::CoTaskMemFree(memory); }
void wts_free(void* memory);  // WTSFreeMemory, resolved at run time (WinUserSession.cpp)
inline void release_catalog_admin(HCATADMIN admin) { ::CryptCATAdminReleaseContext(admin, 0); }
// A catalog found through an admin context is released through that context.
struct catalog_context {
    HCATADMIN admin = nullptr;
    HCATINFO info = nullptr;
    bool operator!=(const catalog_context& other) const { return info != other.info; }
};
inline void release_catalog(const catalog_context& c) { ::CryptCATAdminReleaseCatalogContext(c.admin, c.info, 0); }
inline void free_bstr(BSTR text) { ::SysFreeString(text); }
inline bool valid_variant(const VARIANT& v) { return v.vt != VT_EMPTY; }
inline void clear_variant(VARIANT& v) { ::VariantClear(&v); }
inline void destroy_safearray(SAFEARRAY* array) { ::SafeArrayDestroy(array); }
template <typename I>
void release_interface(I* pointer) {
    pointer->Release();
}
inline void delete_hstring(HSTRING text) { ::WindowsDeleteString(text); }
inline void close_algorithm(BCRYPT_ALG_HANDLE algorithm) { ::BCryptCloseAlgorithmProvider(algorithm, 0); }
inline void destroy_hash(BCRYPT_HASH_HANDLE hash) { ::BCryptDestroyHash(hash); }
inline void unregister_provider(REGHANDLE handle) { ::EventUnregister(handle); }
}  // namespace detail

using unique_handle = unique_any<HANDLE, &detail::close_handle, &detail::valid_handle>;  // kernel objects, tokens
using unique_hkey = unique_any<HKEY, &detail::close_key>;
using unique_hmodule = unique_any<HMODULE, &detail::free_library>;
using unique_environment = unique_any<void*, &detail::destroy_environment>;
using unique_attribute_list = unique_any<LPPROC_THREAD_ATTRIBUTE_LIST, &detail::delete_attribute_list>;
using unique_process_information =
    unique_any<PROCESS_INFORMATION, &detail::close_process, &detail::valid_process>;
using unique_rpc_string = unique_any<RPC_WSTR, &detail::free_rpc_string>;
using unique_hlocal = unique_any<void*, &detail::local_free>;
using unique_cotaskmem = unique_any<void*, &detail::cotaskmem_free>;
using unique_wts_memory = unique_any<void*, &detail::wts_free>;
using unique_catalog_admin = unique_any<HCATADMIN, &detail::release_catalog_admin>;
using unique_catalog = unique_any<detail::catalog_context, &detail::release_catalog>;
using unique_bstr = unique_any<BSTR, &detail::free_bstr>;
using unique_variant = unique_any<VARIANT, &detail::clear_variant, &detail::valid_variant>;
using unique_safearray = unique_any<SAFEARRAY*, &detail::destroy_safearray>;
template <typename I>
using com_ptr = unique_any<I*, &detail::release_interface<I>>;  // COM and WinRT interfaces
using unique_hstring = unique_any<HSTRING, &detail::delete_hstring>;
using unique_bcrypt_algorithm = unique_any<BCRYPT_ALG_HANDLE, &detail::close_algorithm>;
using unique_bcrypt_hash = unique_any<BCRYPT_HASH_HANDLE, &detail::destroy_hash>;
using unique_etw_provider = unique_any<REGHANDLE, &detail::unregister_provider>;

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
