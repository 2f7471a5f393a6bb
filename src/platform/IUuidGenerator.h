#pragma once
#include <string>

#include "platform/Result.h"

namespace Qv::platform {

// Fresh UUIDs in the system's standard text form (lower-case hex with hyphens).
class IUuidGenerator {
public:
    virtual ~IUuidGenerator() = default;
    virtual Result<std::wstring> NewUuidString() = 0;
};

}  // namespace Qv::platform
