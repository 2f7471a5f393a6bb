#pragma once
#include "platform/IProcessLauncher.h"

namespace Qv::platform::windows {

// CreateProcessAsUserW in the user's session: run-and-capture through a pipe, and the start of
// a store package's executable.
class WinProcessLauncher : public IProcessLauncher {
public:
    Result<std::string> RunAndCapture(UserToken token, const std::wstring& applicationPath,
                                      const std::wstring& commandLine) override;
    Result<std::wstring> PackageFolder(const std::wstring& packageFamilyName) override;
    Result<void> StartAsUser(UserToken token, const std::wstring& image) override;
    int RunCommandProcessor(const std::string& command) override;
    BoundedRun RunBounded(const std::wstring& commandLine, uint32_t waitMilliseconds, size_t maxBytes) override;
};

}  // namespace Qv::platform::windows
