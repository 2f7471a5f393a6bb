#pragma once
// What a port call answers: a value, or the system's status for the failure (a Windows error
// number, an RPC status or an HRESULT) so that the logic can log it. One convention for every
// port; calls that cannot fail answer a plain value.
#include <cstdint>
#include <optional>
#include <utility>

namespace Qv::platform {

// A failed call's status, convertible to any Result.
struct Failure {
    int32_t status;
};

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : value_(std::move(value)) {}
    Result(Failure failure) : status_(failure.status) {}

    bool Ok() const { return value_.has_value(); }
    explicit operator bool() const { return Ok(); }
    // The status of a failure; 0 for a value.
    int32_t Status() const { return status_; }

    T& operator*() { return *value_; }
    const T& operator*() const { return *value_; }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }
    T ValueOr(T fallback) const { return value_ ? *value_ : std::move(fallback); }

private:
    std::optional<T> value_;
    int32_t status_ = 0;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure) : ok_(false), status_(failure.status) {}

    bool Ok() const { return ok_; }
    explicit operator bool() const { return ok_; }
    int32_t Status() const { return status_; }

private:
    bool ok_ = true;
    int32_t status_ = 0;
};

inline Result<void> Success() { return {}; }

}  // namespace Qv::platform
