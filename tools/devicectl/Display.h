#pragma once
#include <string>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl display: brightness, HDR, the display mode, input source, schedule, gains and contrast.
int ShowDisplay(ServiceModule& module, std::wstring clientId);

}  // namespace Qv::Devicectl
