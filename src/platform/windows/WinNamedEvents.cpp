#include "platform/windows/WinNamedEvents.h"

#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

}  // namespace

Result<EventHandle> WinNamedEvents::CreateManualReset(const std::wstring& name) {
    unique_handle event(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    if (!event) return LastError();
    // The logic owns it from here and closes it through Close.
    return static_cast<EventHandle>(event.release());
}

Result<void> WinNamedEvents::Set(EventHandle handle) {
    if (!SetEvent(static_cast<HANDLE>(handle))) return LastError();
    return Success();
}

Result<void> WinNamedEvents::Reset(EventHandle handle) {
    if (!ResetEvent(static_cast<HANDLE>(handle))) return LastError();
    return Success();
}

Result<int> WinNamedEvents::WaitForEither(EventHandle first, EventHandle second) {
    const HANDLE handles[2] = {static_cast<HANDLE>(first), static_cast<HANDLE>(second)};
    const DWORD result = WaitForMultipleObjects(2, handles, FALSE, INFINITE);
    if (result == WAIT_OBJECT_0) return 0;
    if (result == WAIT_OBJECT_0 + 1) return 1;
    return LastError();
}

Result<void> WinNamedEvents::Close(EventHandle handle) {
    if (handle == nullptr) return Success();
    // The logic owns event handles (they are fields of the session's context) and reports a
    // failed close, so the close is checked rather than left to an owner.
    if (!detail::close_handle_checked(static_cast<HANDLE>(handle))) return LastError();
    return Success();
}

}  // namespace Qv::platform::windows
