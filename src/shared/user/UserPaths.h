#pragma once
// Paths as the service and the logged-on user see them.
#include <string>

#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class UserPaths {
public:
    explicit UserPaths(platform::Platform& platform) : platform_(platform) {}

    // The general form used by the security checks: environment variables expanded (for the
    // token's user when a token is given, for the service otherwise), then made absolute and
    // canonical. Empty when the path is null or a step fails.
    std::wstring GeneralForm(const wchar_t* filePath, platform::UserToken token = nullptr);

private:
    platform::Platform& platform_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
