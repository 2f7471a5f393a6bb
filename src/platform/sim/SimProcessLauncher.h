#pragma once
#include <mutex>
#include <vector>

#include "platform/IProcessLauncher.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Runs the world's tool, or a program an area gives the simulated laptop, and records what was
// started. Nothing real is ever launched.
class SimProcessLauncher : public platform::IProcessLauncher {
public:
    explicit SimProcessLauncher(SimWorld& world) : world_(world) {}

    platform::Result<std::string> RunAndCapture(platform::UserToken token, const std::wstring& applicationPath,
                                                const std::wstring& commandLine) override;
    platform::Result<std::wstring> PackageFolder(const std::wstring& packageFamilyName) override;
    platform::Result<void> StartAsUser(platform::UserToken token, const std::wstring& image) override;
    int RunCommandProcessor(const std::string& command) override;
    BoundedRun RunBounded(const std::wstring& commandLine, uint32_t waitMilliseconds, size_t maxBytes) override;

    // The most recent command lines run as the user, oldest first, and how many there were.
    std::vector<std::wstring> CommandLines() const;
    size_t CommandLinesTotal() const;
    // The images started as the user (StartAsUser), oldest first.
    std::vector<std::wstring> StartedPackages() const;
    // The most recent commands run through the command processor, oldest first.
    std::vector<std::string> ProcessorCommands() const;
    // The most recent command lines run in the service's own context with a bounded wait.
    std::vector<std::wstring> BoundedCommandLines() const;
    // Bounded runs ended because they stalled.
    size_t StalledRunsEnded() const;

private:
    SimWorld& world_;
    mutable std::mutex mutex_;
    Recent<std::wstring> commandLines_;
    Recent<std::wstring> startedPackages_;
    Recent<std::string> processorCommands_;
    Recent<std::wstring> boundedCommandLines_;
    size_t stalledEnded_ = 0;
};

}  // namespace Qv::Sim
