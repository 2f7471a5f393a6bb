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

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

std::wstring FileNameOf(const std::wstring& path) { return Lower(path.substr(path.find_last_of(L"\\/") + 1)); }

// The image a start runs: `applicationPath` when one is given, else the command line's first word,
// which a bare name finds as CreateProcess does: the system folder, the Windows folder, then each
// folder on PATH (the service's). Empty when there is nothing by that name.
std::wstring Locate(const SimWorld& world, const std::wstring& applicationPath, const std::vector<std::wstring>& args) {
    if (!applicationPath.empty()) return applicationPath;
    if (args.empty() || args[0].empty()) return L"";
    std::wstring name = args[0];
    if (name.find_first_of(L"\\/") != std::wstring::npos) return world.files.count(Lower(name)) != 0 ? name : L"";
    if (name.find(L'.') == std::wstring::npos) name += L".exe";
    std::vector<std::wstring> folders{world.systemFolder, FolderOf(world.systemFolder)};
    auto path = world.environment.find(L"PATH");
    for (size_t start = 0; path != world.environment.end() && start <= path->second.size();) {
        const size_t end = std::min(path->second.find(L';', start), path->second.size());
        std::wstring folder = path->second.substr(start, end - start);
        while (!folder.empty() && folder.back() == L'\\') folder.pop_back();
        if (!folder.empty()) folders.push_back(folder);
        start = end + 1;
    }
    for (const std::wstring& folder : folders)
        if (world.files.count(Lower(folder + L"\\" + name)) != 0) return folder + L"\\" + name;
    return L"";
}

// Runs the image as `runAs`: a program of the system's (below the Windows folder) as the area
// that gives it answers; anything else is what a user planted, and only recorded. PowerShell
// without -NoProfile runs its user's profile first.
std::optional<SimRun> Start(SimWorld& world, const std::wstring& image, const std::vector<std::wstring>& args,
                            SimWorld::RunAs runAs) {
    if (image.empty()) return std::nullopt;
    if (Lower(image).rfind(Lower(FolderOf(world.systemFolder)) + L"\\", 0) != 0) {
        std::wstring run = image;
        for (size_t i = 1; i < args.size(); ++i) run += L" " + args[i];
        world.plantedRuns.Add(run);
        return SimRun{};
    }
    if (FileNameOf(image) == L"powershell.exe") {
        bool noProfile = false;
        for (size_t i = 1; i < args.size() && Lower(args[i]) != L"-command"; ++i) noProfile |= Lower(args[i]) == L"-noprofile";
        const auto& environment = runAs == SimWorld::RunAs::User ? world.userEnvironment : world.environment;
        auto profile = environment.find(L"USERPROFILE");
        const std::wstring script = profile == environment.end() ? L"" : profile->second + L"\\Documents\\WindowsPowerShell\\profile.ps1";
        if (!noProfile && world.files.count(Lower(script)) != 0) world.profileRuns.Add(script);
    }
    world.runAs = runAs;
    auto run = RunSimProgram(world, image, args);
    world.runAs = SimWorld::RunAs::Service;
    return run;
}

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
    const auto run = Start(world_, Locate(world_, applicationPath, args), args, SimWorld::RunAs::User);
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
    const auto run = Start(world_, Locate(world_, L"", args), args, SimWorld::RunAs::Service);
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
        run = Start(world_, Locate(world_, L"", args), args, SimWorld::RunAs::Service);
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

platform::Result<std::wstring> SimProcessLauncher::PackageFolder(const std::wstring& packageFamilyName) {
    QV_SIM_FAULT(world_.faults, Processes);
    // Found as the system finds it: a package of the family installed for the thread's user.
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring user = ThreadUser(world_);
    for (const auto& entry : world_.packages) {
        if (entry.package.familyName != packageFamilyName) continue;
        for (const auto& owner : entry.users)
            if (owner.userSecurityId == user) return entry.package.installLocation;
    }
    return platform::Failure{kErrorNotFound};
}

platform::Result<void> SimProcessLauncher::StartAsUser(platform::UserToken token, const std::wstring& image) {
    QV_SIM_FAULT(world_.faults, Processes);
    if (token == nullptr) return platform::Failure{kErrorInvalidHandle};
    std::lock_guard<std::mutex> lock(mutex_);
    startedPackages_.Add(image);
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
