#pragma once
#include <memory>
#include <string>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// The service control manager, for the state of another service.
class IServiceStatus {
public:
    static std::shared_ptr<IServiceStatus> Make(Platform& platform);

    virtual ~IServiceStatus() = default;
    // Whether the service exists and runs; a failure when it does not exist or cannot be read.
    virtual Result<bool> IsRunning(const std::wstring& name) = 0;
};

}  // namespace Qv::platform
