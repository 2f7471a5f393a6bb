#pragma once
#include <string>

#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// devicectl audio: the playback and recording endpoints, the default marked, and the mute state
// and volume of the default endpoints.
int ShowAudio(ServiceModule& module, std::wstring clientId);

}  // namespace Qv::Devicectl
