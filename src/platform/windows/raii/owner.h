#pragma once
// Owners for Windows resources: one generic owner here, and one header per family of resources
// beside it with one line per kind, each including only the SDK headers of its family. Adapters
// keep no raw resource past the statement that obtained it, and no closing call appears outside
// these headers.
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

}  // namespace Qv::platform::windows
