#pragma once
// The module as a Visual C++ host sees it, for hosts of our own written in C++ (devicectl, the
// Windows tests): function objects laid out as the Visual C++ STL lays out
// std::function<void(wchar_t*)>, and the service reached only through its slot table.
#include <new>
#include <type_traits>
#include <utility>

#include "qv/QVServiceAbi.h"

namespace Qv::Abi {

namespace detail {

// A callable as the Visual C++ STL's implementation object holds it: the table pointer, then
// the callable. Small callables live inside the function object's storage, others on the heap,
// by the STL's own rule (size, alignment, a move that cannot throw).
template <class F>
struct HostCallableImpl : QVHostCallable {
    static constexpr bool Large() {
        return sizeof(HostCallableImpl) > QV_HOST_FUNCTION_SPACE || alignof(HostCallableImpl) > 8 ||
               !std::is_nothrow_move_constructible_v<F>;
    }

    explicit HostCallableImpl(F f) : QVHostCallable{&kSlots}, callable(std::move(f)) {}
    HostCallableImpl(const HostCallableImpl& other) : QVHostCallable{&kSlots}, callable(other.callable) {}
    HostCallableImpl(HostCallableImpl&& other) noexcept : QVHostCallable{&kSlots}, callable(std::move(other.callable)) {}

    static HostCallableImpl* Of(QVHostCallable* self) { return static_cast<HostCallableImpl*>(self); }
    static const HostCallableImpl* Of(const QVHostCallable* self) { return static_cast<const HostCallableImpl*>(self); }

    static QVHostCallable* Copy(const QVHostCallable* self, void* where) {
        if constexpr (Large()) return new HostCallableImpl(*Of(self));
        else return ::new (where) HostCallableImpl(*Of(self));
    }
    static QVHostCallable* Move(QVHostCallable* self, void* where) {
        if constexpr (Large()) return nullptr;  // never asked: a heap callable changes hands by pointer
        else return ::new (where) HostCallableImpl(std::move(*Of(self)));
    }
    static void DoCall(QVHostCallable* self, wchar_t** argument) { Of(self)->callable(*argument); }
    static const void* TargetType(const QVHostCallable*) { return nullptr; }
    static void DeleteThis(QVHostCallable* self, bool deallocate) {
        if (deallocate) delete Of(self);
        else Of(self)->~HostCallableImpl();
    }
    static const void* Get(const QVHostCallable* self) { return &Of(self)->callable; }

    static constexpr QVHostCallableSlots kSlots{&Copy, &Move, &DoCall, &TargetType, &DeleteThis, &Get};

    F callable;
};

}  // namespace detail

// Builds a function object holding `f` in `out` (whose previous content is overwritten).
template <class F>
void MakeHostFunction(QVHostFunction& out, F f) {
    using Impl = detail::HostCallableImpl<F>;
    out = QVHostFunction{};
    if constexpr (Impl::Large()) out.pointers[QV_HOST_FUNCTION_CALLABLE] = new Impl(std::move(f));
    else out.pointers[QV_HOST_FUNCTION_CALLABLE] = ::new (static_cast<void*>(&out)) Impl(std::move(f));
}

// Ends a function object that was never handed over (a callee destroys the ones it receives).
inline void DestroyHostFunction(QVHostFunction& function) {
    QVHostCallable* callable = function.pointers[QV_HOST_FUNCTION_CALLABLE];
    if (callable == nullptr) return;
    callable->slots->DeleteThis(callable, static_cast<void*>(callable) != static_cast<void*>(&function));
    function.pointers[QV_HOST_FUNCTION_CALLABLE] = nullptr;
}

// Owns a service object and calls it through its slots, as the host does.
class HostService {
public:
    explicit HostService(QVServiceObject* object) : object_(object) {}
    ~HostService() {
        if (object_ != nullptr) object_->slots->DeletingDestructor(object_, 1);
    }
    HostService(const HostService&) = delete;
    HostService& operator=(const HostService&) = delete;

    QVServiceObject* Object() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    int StartSession(wchar_t* clientId, void** context) { return Slots().StartSession(object_, clientId, context); }
    int EndSession(void** context) { return Slots().EndSession(object_, context); }
    // The function object is built on this frame and handed over by address; the module ends it.
    template <class F>
    int ExecuteCommand(void* context, unsigned int number, wchar_t* input, wchar_t** output, F callback) {
        QVHostFunction argument;
        MakeHostFunction(argument, std::move(callback));
        return Slots().ExecuteCommand(object_, context, number, input, output, &argument, nullptr);
    }
    // With an empty function object.
    int ExecuteCommand(void* context, unsigned int number, wchar_t* input, wchar_t** output) {
        QVHostFunction argument{};
        return Slots().ExecuteCommand(object_, context, number, input, output, &argument, nullptr);
    }
    void ReleaseOutput(wchar_t* text) { Slots().ReleaseOutput(object_, text); }
    void StartupTask() { Slots().StartupTask(object_); }
    bool OobeEventTask() { return Slots().OobeEventTask(object_); }
    void SessionChangeTask(unsigned long event, void* data) { Slots().SessionChangeTask(object_, event, data); }
    void ReservedHooks() {
        Slots().ReservedHook6(object_);
        Slots().ReservedHook7(object_);
        Slots().ReservedHook10(object_);
    }

private:
    const QVServiceSlots& Slots() const { return *object_->slots; }

    QVServiceObject* object_;
};

}  // namespace Qv::Abi
