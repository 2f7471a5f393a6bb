#include "platform/sim/SimProcessLauncher.h"

#include "core/command_line.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorFileNotFound = 2;
constexpr int32_t kErrorInvalidHandle = 6;

}  // namespace

platform::Result<std::string> SimProcessLauncher::RunAndCapture(platform::UserToken token,
                                                                const std::wstring& applicationPath,
                                                                const std::wstring& commandLine) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        commandLines_.Add(commandLine);
    }
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.tool.failsToStart || world_.files.count(Lower(applicationPath)) == 0)
        return platform::Failure{kErrorFileNotFound};
    return RunSimTool(world_.tool, Core::SplitCommandLine(commandLine));
}

platform::Result<void> SimProcessLauncher::StartPackagedApplication(platform::UserToken token,
                                                                    const std::wstring& packageFamilyName,
                                                                    const std::wstring& executable) {
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(mutex_);
    startedPackages_.Add(packageFamilyName + L"!" + executable);
    return platform::Success();
}

std::vector<std::wstring> SimProcessLauncher::CommandLines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return commandLines_.Items();
}

size_t SimProcessLauncher::CommandLinesTotal() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return commandLines_.Total();
}

std::vector<std::wstring> SimProcessLauncher::StartedPackages() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return startedPackages_.Items();
}

}  // namespace Qv::Sim
