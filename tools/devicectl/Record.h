#pragma once
#include <string>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl record FILE: writes a device profile from the module's answers on this machine.
int RecordProfile(ServiceModule& module, std::wstring clientId, const std::wstring& path);

}  // namespace Qv::Devicectl
