#pragma once
// Log sinks of the Windows build: the ETW provider named after the logging provider, and the
// debugger output.
#include <memory>

#include "core/logging.h"

namespace Qv::platform::windows {

std::shared_ptr<Bridge::Logging::ILogSink> MakeEtwLogSink();
std::shared_ptr<Bridge::Logging::ILogSink> MakeDebugOutputLogSink();

}  // namespace Qv::platform::windows
