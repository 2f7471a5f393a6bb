#pragma once
// Per-session client context: created by StartSession, handed back by the host with every
// command, freed by EndSession.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "platform/Handles.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

constexpr size_t kMaxClientIdLength = 64;
constexpr int32_t kDefaultMemoryThreshold = 80;

struct DeviceControlServiceContext {
    wchar_t* clientId = nullptr;  // malloc'ed, at most kMaxClientIdLength characters
    std::mutex lock;              // serialises this session's status-event registrations
    platform::EventHandle batteryStopEvent = nullptr;
    platform::EventHandle batteryChangeEvent = nullptr;
    platform::EventHandle memoryStopEvent = nullptr;
    platform::EventHandle memoryChangeEvent = nullptr;
    std::wstring batteryEventNames[2];  // "qvbl_" + UUID, "qvbtc_" + UUID
    std::wstring memoryEventNames[2];   // "qvml_" + UUID, "qvmtc_" + UUID
    int64_t batteryStatusToken = 0;
    int64_t remainingChargeToken = 0;
    // Read by the low-memory polling thread while the session's own threads change them.
    std::atomic<int32_t> memoryThreshold{kDefaultMemoryThreshold};
    std::atomic<int32_t> lastMemoryLoad{-1};
    // Notified (under `lock`) when a subscription of this session has ended and closed its
    // events, so that EndSession can end a subscription still running before freeing the context.
    std::condition_variable subscriptionEnded;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
