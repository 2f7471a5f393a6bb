#pragma once
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

int ShowDeviceInfo(ServiceModule& module);

}  // namespace Qv::Devicectl
