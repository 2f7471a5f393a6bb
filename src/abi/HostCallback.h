#pragma once
// The host's callback as a callable of our own. The host hands ExecuteCommand a Visual C++
// std::function<void(wchar_t*)>; HostCallback holds such a function object in storage of the
// same shape and copies, calls and destroys it only through the callable's own table, exactly as
// the Visual C++ STL does, so the callable never learns that it crossed into g++ code.
#include <functional>

#include "qv/QVServiceAbi.h"
#include "service/CommandTable.h"

namespace Qv::Abi {

class HostCallback {
public:
    // Takes over what `argument` holds (moving it as std::function's move constructor does),
    // leaving it empty: the callee owns a by-value argument and ends its life.
    explicit HostCallback(QVHostFunction& argument) noexcept;
    HostCallback(const HostCallback& other);
    HostCallback(HostCallback&& other) noexcept;
    HostCallback& operator=(const HostCallback&) = delete;
    HostCallback& operator=(HostCallback&&) = delete;
    ~HostCallback();

    void operator()(wchar_t* text) const;
    bool Empty() const { return Callable() == nullptr; }

private:
    QVHostCallable* Callable() const { return storage_.pointers[QV_HOST_FUNCTION_CALLABLE]; }
    bool Local() const { return static_cast<const void*>(Callable()) == static_cast<const void*>(&storage_); }
    // Mirrors the STL's move of one function object into another; `from` ends empty.
    static void MoveInto(QVHostFunction& from, QVHostFunction& to) noexcept;

    mutable QVHostFunction storage_{};
};

// The host's argument as our own std::function: empty when the host's function object is empty
// (or the pointer is null). `argument` is left empty and destroyed either way.
std::function<void(wchar_t*)> AdoptHostFunction(QVHostFunction* argument);

// Ends the host's argument through its callable's table, as the Visual C++ STL's destructor does.
void EndHostFunction(QVHostFunction* argument) noexcept;

// The host's argument for one call: made into our own std::function only when a command asks
// (a subscription); otherwise simply ended when the call returns. Either way the callee ends it.
class HostCallbackSource : public Bridge::Server::Services::DeviceControl::CallbackSource {
public:
    explicit HostCallbackSource(QVHostFunction* argument) : argument_(argument) {}
    ~HostCallbackSource() { EndHostFunction(argument_); }
    HostCallbackSource(const HostCallbackSource&) = delete;
    HostCallbackSource& operator=(const HostCallbackSource&) = delete;

    const std::function<void(wchar_t*)>& Callback() override;

private:
    QVHostFunction* argument_;
    std::function<void(wchar_t*)> callback_;
    bool adopted_ = false;
};

}  // namespace Qv::Abi
