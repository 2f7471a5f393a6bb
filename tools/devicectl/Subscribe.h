#pragma once
#include <optional>
#include <string>
#include <vector>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

struct SubscribeOptions {
    int eventId = 0;                  // 1001 battery, 1002 low memory
    std::optional<int> threshold;     // "memoryThreshold"
    long long milliseconds = 10000;   // how long to listen
    std::vector<int> memoryLoads;     // native build: simulated loads, one polling round each
};

int Subscribe(ServiceModule& module, const std::wstring& clientId, const SubscribeOptions& options);

}  // namespace Qv::Devicectl
