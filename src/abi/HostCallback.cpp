#include "abi/HostCallback.h"

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
    if (QVHostCallable* callable = Callable()) callable->slots->DoCall(callable, &text);
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
