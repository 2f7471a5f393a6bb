#pragma once
// Per-session client context: created by StartSession, handed back by the host with every
// command, freed by EndSession. The service keeps the client's identifier and the session's lock;
// an area that keeps state per session keeps it here in a slot of its own type, made by its
// session-start hook and freed with the context.
#include <cstddef>
#include <mutex>

#include "core/type_slots.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

constexpr size_t kMaxClientIdLength = 64;

struct DeviceControlServiceContext {
    wchar_t* clientId = nullptr;  // malloc'ed, at most kMaxClientIdLength characters
    std::mutex lock;              // serialises the areas' work on this session

    // The area state of type T in this session, made with `make` (or its default) the first time.
    template <class T, class Make>
    T& State(Make&& make) {
        return areas.GetOrMake<T>(std::forward<Make>(make));
    }
    template <class T>
    T& State() {
        return areas.GetOrMake<T>();
    }
    // Null when the area made none.
    template <class T>
    T* FindState() const {
        return areas.Find<T>();
    }

    Core::TypeSlots areas;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
