#pragma once
// The Windows adapters behind the ports, installed by the DLL when it is attached.
#include <memory>

#include "core/logging.h"
#include "platform/platform.h"

namespace Qv::platform::windows {

class WinUuidGenerator : public IUuidGenerator {
public:
    std::wstring NewUuidString() override;
};

class WinNamedEvents : public INamedEvents {
public:
    void Close(EventHandle handle) override;
};

class WinPlatform : public Platform {
public:
    IUuidGenerator& Uuids() override { return uuids_; }
    INamedEvents& Events() override { return events_; }

private:
    WinUuidGenerator uuids_;
    WinNamedEvents events_;
};

// Log sinks of the Windows build: the ETW provider named after the logging provider, and the
// debugger output.
std::shared_ptr<Bridge::Logging::ILogSink> MakeEtwLogSink();
std::shared_ptr<Bridge::Logging::ILogSink> MakeDebugOutputLogSink();

}  // namespace Qv::platform::windows
