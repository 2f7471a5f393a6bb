#pragma once
// Per-session client context: created by StartSession, handed back by the host with every
// command, freed by EndSession.
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
    int32_t memoryThreshold = kDefaultMemoryThreshold;
    int32_t lastMemoryLoad = -1;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
