#pragma once
// Paths as the service and the logged-on user see them.
#include <string>

#include "platform/platform.h"

namespace Qv::platform {

class UserPaths {
public:
    explicit UserPaths(Platform& platform) : platform_(platform) {}

    // The general form used by the security checks: environment variables expanded (for the
    // token's user when a token is given, for the service otherwise), then made absolute and
    // canonical. Empty when the path is null or a step fails.
    std::wstring GeneralForm(const wchar_t* filePath, UserToken token = nullptr);

private:
    Platform& platform_;
};

}  // namespace Qv::platform
