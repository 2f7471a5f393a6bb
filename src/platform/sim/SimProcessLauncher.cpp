#include "platform/sim/SimProcessLauncher.h"

#include "core/command_line.h"
#include "platform/sim/SimPrograms.h"

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
    const SimProgram* program = FindSimProgram(applicationPath.empty() ? (args.empty() ? L"" : args[0]) : applicationPath);
    if (program == nullptr) return platform::Failure{kErrorFileNotFound};
    return program->run(world_, args).output;
}

int SimProcessLauncher::RunCommandProcessor(const std::string& command) {
    constexpr int kNotRecognised = 1;  // cmd.exe's status for a program it cannot find
    {
        std::lock_guard<std::mutex> lock(mutex_);
        processorCommands_.Add(command);
    }
    const std::vector<std::wstring> args = Core::SplitCommandLine(std::wstring(command.begin(), command.end()));
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.commandProcessorMissing) return -1;
    const SimProgram* program = args.empty() ? nullptr : FindSimProgram(args[0]);
    if (program == nullptr) return kNotRecognised;
    return program->run(world_, args).exitCode;
}

std::vector<std::string> SimProcessLauncher::ProcessorCommands() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return processorCommands_.Items();
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
