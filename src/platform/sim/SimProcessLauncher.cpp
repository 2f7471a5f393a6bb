#include "platform/sim/SimProcessLauncher.h"

#include <algorithm>

#include "core/command_line.h"
#include "platform/sim/SimPrograms.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorFileNotFound = 2;
constexpr int32_t kErrorInvalidHandle = 6;
constexpr int32_t kErrorTimeout = 1460;
constexpr int32_t kErrorNotFound = 1168;

}  // namespace

platform::Result<std::string> SimProcessLauncher::RunAndCapture(platform::UserToken token,
                                                                const std::wstring& applicationPath,
                                                                const std::wstring& commandLine) {
    QV_SIM_FAULT(world_.faults, Processes);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        commandLines_.Add(commandLine);
    }
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    const std::vector<std::wstring> args = Core::SplitCommandLine(commandLine);
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (!applicationPath.empty()) {
        // The image named: the tool, or a program an area gives, and the file must be there.
        if (world_.files.count(Lower(applicationPath)) == 0) return platform::Failure{kErrorFileNotFound};
        if (Lower(applicationPath).ends_with(L"\\devicecontroltool.exe")) {
            if (world_.tool.failsToStart) return platform::Failure{kErrorFileNotFound};
            return RunSimTool(world_, args);
        }
    }
    // Otherwise the command line's first word, looked up as the system's search would.
    const auto run = RunSimProgram(world_, applicationPath.empty() ? (args.empty() ? L"" : args[0]) : applicationPath, args);
    if (!run) return platform::Failure{kErrorFileNotFound};
    return run->output;
}

int SimProcessLauncher::RunCommandProcessor(const std::string& command) {
    constexpr int kNotRecognised = 1;  // cmd.exe's status for a program it cannot find
    {
        std::lock_guard<std::mutex> lock(mutex_);
        processorCommands_.Add(command);
    }
    if (world_.faults.Enter(SimPort::Processes)) return -1;  // cmd.exe could not be started
    const std::vector<std::wstring> args = Core::SplitCommandLine(std::wstring(command.begin(), command.end()));
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.commandProcessorMissing) return -1;
    const auto run = args.empty() ? std::nullopt : RunSimProgram(world_, args[0], args);
    if (!run) return kNotRecognised;
    return run->exitCode;
}

platform::IProcessLauncher::BoundedRun SimProcessLauncher::RunBounded(const std::wstring& commandLine, uint32_t,
                                                                      size_t maxBytes) {
    using Outcome = BoundedRun::Outcome;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        boundedCommandLines_.Add(commandLine);
    }
    if (const auto fault = world_.faults.Enter(SimPort::Processes)) return {Outcome::StartFailed, {}, *fault};
    const std::vector<std::wstring> args = Core::SplitCommandLine(commandLine);
    std::optional<SimRun> run;
    {
        std::lock_guard<std::mutex> lock(world_.mutex);
        if (!args.empty()) run = RunSimProgram(world_, args[0], args);
    }
    if (!run) return {Outcome::StartFailed, {}, kErrorFileNotFound};
    if (run->stalls) {
        std::lock_guard<std::mutex> lock(mutex_);
        ++stalledEnded_;
        return {Outcome::Stalled, {}, kErrorTimeout};
    }
    if (run->output.size() > maxBytes) run->output.resize(maxBytes);
    return {Outcome::Read, std::move(run->output), 0};
}

std::vector<std::wstring> SimProcessLauncher::BoundedCommandLines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return boundedCommandLines_.Items();
}

size_t SimProcessLauncher::StalledRunsEnded() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return stalledEnded_;
}

std::vector<std::string> SimProcessLauncher::ProcessorCommands() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return processorCommands_.Items();
}

platform::Result<void> SimProcessLauncher::StartPackagedApplication(platform::UserToken token,
                                                                    const std::wstring& packageFamilyName,
                                                                    const std::wstring& executable) {
    QV_SIM_FAULT(world_.faults, Processes);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    {
        // Found as the system finds it: a package of the family installed for the user.
        std::lock_guard<std::mutex> lock(world_.mutex);
        const bool installed = std::any_of(world_.packages.begin(), world_.packages.end(), [&](const auto& entry) {
            return entry.package.familyName == packageFamilyName &&
                   std::any_of(entry.users.begin(), entry.users.end(),
                               [&](const auto& user) { return user.userSecurityId == world_.userSecurityId; });
        });
        if (!installed) return platform::Failure{kErrorNotFound};
    }
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
