#pragma once
#include <mutex>
#include <vector>

#include "platform/IProcessLauncher.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Runs the world's tool when asked to run a file that exists; records what was started.
class SimProcessLauncher : public platform::IProcessLauncher {
public:
    explicit SimProcessLauncher(SimWorld& world) : world_(world) {}

    platform::Result<std::string> RunAndCapture(platform::UserToken token, const std::wstring& applicationPath,
                                                const std::wstring& commandLine) override;
    platform::Result<void> StartPackagedApplication(platform::UserToken token, const std::wstring& packageFamilyName,
                                                    const std::wstring& executable) override;

    // The most recent command lines run as the user, oldest first, and how many there were.
    std::vector<std::wstring> CommandLines() const;
    size_t CommandLinesTotal() const;
    std::vector<std::wstring> StartedPackages() const;

private:
    SimWorld& world_;
    mutable std::mutex mutex_;
    Recent<std::wstring> commandLines_;
    Recent<std::wstring> startedPackages_;
};

}  // namespace Qv::Sim
