#pragma once
#include <string>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl modes: the experience modes of this machine with their commands.
int ShowModes(ServiceModule& module);
// devicectl mode NAME [PICKS]: applies a mode (PICKS: 1-based positions, "2,4"); command 110.
int ApplyMode(ServiceModule& module, const std::wstring& name, const std::wstring& picks, std::wstring clientId);
// devicectl restore: puts back what the last mode changed; command 111.
int RestoreModes(ServiceModule& module, std::wstring clientId);

}  // namespace Qv::Devicectl
