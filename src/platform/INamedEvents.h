#pragma once
#include <string>
#include <utility>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// Named manual-reset kernel events, as the device status subscriptions signal across threads.
class INamedEvents {
public:
    virtual ~INamedEvents() = default;
    // A manual-reset event, initially clear; a second creation with the same name opens the same event.
    virtual Result<EventHandle> CreateManualReset(const std::wstring& name) = 0;
    virtual Result<void> Set(EventHandle handle) = 0;
    virtual Result<void> Reset(EventHandle handle) = 0;
    // Waits without a time limit until one of the two is set: 0 for `first`, 1 for `second`
    // (`first` wins when both are).
    virtual Result<int> WaitForEither(EventHandle first, EventHandle second) = 0;
    // Closing a null handle does nothing.
    virtual Result<void> Close(EventHandle handle) = 0;
};

// A named event owned by its holder: closed through its port when the holder ends, or earlier
// by Close, which reports a failed close.
class OwnedEvent {
public:
    OwnedEvent() = default;
    OwnedEvent(INamedEvents& events, EventHandle handle) : events_(&events), handle_(handle) {}
    ~OwnedEvent() { (void)Close(); }
    OwnedEvent(OwnedEvent&& other) noexcept
        : events_(other.events_), handle_(std::exchange(other.handle_, nullptr)) {}
    OwnedEvent& operator=(OwnedEvent&& other) noexcept {
        if (this != &other) {
            (void)Close();
            events_ = other.events_;
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    OwnedEvent(const OwnedEvent&) = delete;
    OwnedEvent& operator=(const OwnedEvent&) = delete;

    EventHandle get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    // Closing an empty owner does nothing; the owner is empty afterwards either way.
    Result<void> Close() {
        if (handle_ == nullptr) return Success();
        return events_->Close(std::exchange(handle_, nullptr));
    }

private:
    INamedEvents* events_ = nullptr;
    EventHandle handle_ = nullptr;
};

}  // namespace Qv::platform
