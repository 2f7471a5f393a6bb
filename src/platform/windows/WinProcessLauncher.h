#pragma once
#include "platform/IProcessLauncher.h"

namespace Qv::platform::windows {

// CreateProcessAsUserW in the user's session: run-and-capture through a pipe, and the start of
// a store package's executable.
class WinProcessLauncher : public IProcessLauncher {
public:
    Result<std::string> RunAndCapture(UserToken token, const std::wstring& applicationPath,
                                      const std::wstring& commandLine) override;
    Result<void> StartPackagedApplication(UserToken token, const std::wstring& packageFamilyName,
                                          const std::wstring& executable) override;
    int RunCommandProcessor(const std::string& command) override;
    BoundedRun RunBounded(const std::wstring& commandLine, uint32_t waitMilliseconds, size_t maxBytes) override;
};

}  // namespace Qv::platform::windows
