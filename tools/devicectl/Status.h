#pragma once
#include <string>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl status: every readable setting of the device, one getter per line.
int ShowStatus(ServiceModule& module, std::wstring clientId);

}  // namespace Qv::Devicectl
