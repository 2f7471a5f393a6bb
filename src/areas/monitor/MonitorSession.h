#pragma once
// What a session keeps for its device status subscriptions: four named events with names fixed
// for the session's life, the battery registrations and the memory threshold. Made when the
// session starts, freed with it; guarded by the session's lock.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <string>

#include "platform/INamedEvents.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

constexpr int32_t kDefaultMemoryThreshold = 80;

struct MonitorSession {
    platform::OwnedEvent batteryStopEvent;
    platform::OwnedEvent batteryChangeEvent;
    platform::OwnedEvent memoryStopEvent;
    platform::OwnedEvent memoryChangeEvent;
    std::wstring batteryEventNames[2];  // "qvbl_" + UUID, "qvbtc_" + UUID
    std::wstring memoryEventNames[2];   // "qvml_" + UUID, "qvmtc_" + UUID
    int64_t batteryStatusToken = 0;
    int64_t remainingChargeToken = 0;
    // Read by the low-memory polling thread while the session's own threads change them.
    std::atomic<int32_t> memoryThreshold{kDefaultMemoryThreshold};
    std::atomic<int32_t> lastMemoryLoad{-1};
    // Notified (under the session's lock) when a subscription of this session has ended and
    // closed its events, so that the end of the session can end a subscription still running.
    std::condition_variable subscriptionEnded;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
