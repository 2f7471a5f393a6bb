#pragma once
// Owners for Windows resources. Adapters keep no raw handles.
#include <windows.h>

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

// A kernel handle closed with CloseHandle. Both null and INVALID_HANDLE_VALUE mean "none".
class unique_handle {
public:
    unique_handle() = default;
    explicit unique_handle(HANDLE h) : h_(h) {}
    ~unique_handle() { reset(); }
    unique_handle(unique_handle&& other) noexcept : h_(other.release()) {}
    unique_handle& operator=(unique_handle&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    unique_handle(const unique_handle&) = delete;
    unique_handle& operator=(const unique_handle&) = delete;

    HANDLE get() const { return h_; }
    HANDLE* put() {
        reset();
        return &h_;
    }
    explicit operator bool() const { return h_ != nullptr && h_ != INVALID_HANDLE_VALUE; }
    HANDLE release() { return std::exchange(h_, nullptr); }
    void reset(HANDLE h = nullptr) {
        if (h_ != nullptr && h_ != INVALID_HANDLE_VALUE) ::CloseHandle(h_);
        h_ = h;
    }

private:
    HANDLE h_ = nullptr;
};

// A function exported by a loaded module, typed; null when it is not there.
template <typename Fn>
Fn proc_address(HMODULE module, const char* name) {
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace Qv::platform::windows
