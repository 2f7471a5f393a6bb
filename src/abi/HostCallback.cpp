#include "abi/HostCallback.h"

#include <stdexcept>

#ifdef _WIN32
// The host's call inside a structured-exception frame (platform/windows/HostCallGuard.cpp).
extern "C" int QvGuardedHostCall(void (*call)(void*, void*), void* first, void* second);
#endif

namespace Qv::Abi {

void HostCallback::MoveInto(QVHostFunction& from, QVHostFunction& to) noexcept {
    QVHostCallable* callable = from.pointers[QV_HOST_FUNCTION_CALLABLE];
    if (callable == nullptr) return;
    if (static_cast<void*>(callable) == static_cast<void*>(&from)) {
        // Stored in place: construct a twin in the new storage, then destroy the original.
        to.pointers[QV_HOST_FUNCTION_CALLABLE] = callable->slots->Move(callable, &to);
        callable->slots->DeleteThis(callable, false);
    } else {
        // On the heap: the pointer changes hands.
        to.pointers[QV_HOST_FUNCTION_CALLABLE] = callable;
    }
    from.pointers[QV_HOST_FUNCTION_CALLABLE] = nullptr;
}

HostCallback::HostCallback(QVHostFunction& argument) noexcept { MoveInto(argument, storage_); }

HostCallback::HostCallback(const HostCallback& other) {
    if (QVHostCallable* callable = other.Callable())
        storage_.pointers[QV_HOST_FUNCTION_CALLABLE] = callable->slots->Copy(callable, &storage_);
}

HostCallback::HostCallback(HostCallback&& other) noexcept { MoveInto(other.storage_, storage_); }

HostCallback::~HostCallback() {
    if (QVHostCallable* callable = Callable()) {
        callable->slots->DeleteThis(callable, !Local());
        storage_.pointers[QV_HOST_FUNCTION_CALLABLE] = nullptr;
    }
}

void HostCallback::operator()(wchar_t* text) const {
    // The callable takes its argument by rvalue reference: the address of the pointer.
    QVHostCallable* callable = Callable();
    if (callable == nullptr) return;
#ifdef _WIN32
    // What the host's code raises (a Visual C++ exception is a structured one) stops at this
    // frame and comes back as an exception of ours, which the caller logs.
    if (QvGuardedHostCall(reinterpret_cast<void (*)(void*, void*)>(callable->slots->DoCall), callable, &text) != 0)
        throw std::runtime_error("the host's callback raised a structured exception");
#else
    callable->slots->DoCall(callable, &text);
#endif
}

void EndHostFunction(QVHostFunction* argument) noexcept {
    if (argument == nullptr) return;
    QVHostCallable* callable = argument->pointers[QV_HOST_FUNCTION_CALLABLE];
    if (callable == nullptr) return;
    callable->slots->DeleteThis(callable, static_cast<void*>(callable) != static_cast<void*>(argument));
    argument->pointers[QV_HOST_FUNCTION_CALLABLE] = nullptr;
}

const std::function<void(wchar_t*)>& HostCallbackSource::Callback() {
    if (!adopted_) {
        callback_ = AdoptHostFunction(argument_);
        adopted_ = true;
    }
    return callback_;
}

std::function<void(wchar_t*)> AdoptHostFunction(QVHostFunction* argument) {
    if (argument == nullptr || argument->pointers[QV_HOST_FUNCTION_CALLABLE] == nullptr) return {};
    return std::function<void(wchar_t*)>(HostCallback(*argument));
}

}  // namespace Qv::Abi
