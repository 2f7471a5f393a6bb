#pragma once
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl launch-status [start]
int ShowLaunchStatus(ServiceModule& module, bool start);

}  // namespace Qv::Devicectl
