#include "areas/companion-launch/CompanionLaunch.h"

#include <algorithm>
#include <exception>

#include "areas/companion-launch/IUserRegistry.h"
#include "areas/companion-launch/SupportedBoards.h"
#include "shared/firmware/FirmwareCommandClient.h"
#include "shared/user/UserSession.h"
#include "shared/wmi/WmiAccessor.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

using Logging::LogManager;

CompanionLaunch::CompanionLaunch(platform::Platform& platform)
    : platform_(platform), logger_(LogManager::GetSystemInformationLogger()) {}

CompanionLaunch::~CompanionLaunch() { Stop(); }

void CompanionLaunch::Stop() {
    platform::ModuleThread thread;
    {
        std::lock_guard<std::mutex> lock(timedEventMutex_);
        stopFlag_.store(true);
        thread = std::move(thread_);
    }
    // The stop flag is set before the wake, and the clock looks at it under its own lock, so a
    // wait that begins after the wake ends at once too.
    platform_.Clock().Wake();
    if (thread.joinable()) thread.join();
}

void CompanionLaunch::SessionChanged(unsigned long event) {
    if (launchStarted_.load() != 0) return;
    if (event == kWtsSessionLogon) {
        logger_->LogInfo(L"DeviceControlService::sesion_change_task - WTS_SESSION_LOGON received.");
    } else if (event == kWtsSessionUnlock) {
        logger_->LogInfo(L"DeviceControlService::sesion_change_task - WTS_SESSION_UNLOCK received.");
    } else {
        return;
    }
    StartTimedEvent();
}

void CompanionLaunch::StartTimedEvent() {
    try {
        if (!IsAppSupportedOnDevice()) {
            logger_->LogInfo(L"DeviceControlService - App not supported on device.");
            launchStarted_.store(1);  // settled for good: later notifications do nothing
            return;
        }
        const bool realUser = UserSession(platform_).IsRealUserSession();
        const bool launchedAlready = CheckAppLaunched();
        const std::wstring package = FindCompanionPackage();
        const bool installed = !package.empty();
        std::lock_guard<std::mutex> lock(timedEventMutex_);
        // The service is going: a thread started now would never be joined.
        if (stopFlag_.load()) return;
        // A launch thread still waiting is the launch taken care of, whatever cleared the flag.
        const bool waiting = thread_.joinable() && phase_.load() != Phase::Finished;
        const bool takenCare = launchStarted_.load() != 0 || waiting;
        logger_->LogInfo(L"DeviceControlService - packageNameFound: %ls", package.c_str());
        logger_->LogInfo(
            L"DeviceControlService - IsRealUserSession = %d, appInstalled = %d, appRelaunchedAlready = %d, "
            L"takenCare = %d",
            realUser, installed, launchedAlready, takenCare);
        if (!realUser) {
            logger_->LogWarning(L"DeviceControlService - Not real user session. Let other event handle.");
            launchStarted_.store(0);
            return;
        }
        if (installed && !launchedAlready && !takenCare) {
            logger_->LogInfo(L"DeviceControlService - Waiting to start Lumen App.");
            launchStarted_.store(1);
            if (thread_.joinable()) thread_.join();  // an earlier thread that has finished
            phase_.store(Phase::InitialWait);
            deadline_.store(platform_.Clock().SteadyMilliseconds() + kInitialWaitMilliseconds);
            thread_ = platform::ModuleThread(platform_.Threads().Start([this] { Run(); }));
            if (!thread_.joinable()) {
                logger_->LogError(L"DeviceControlService - Exception raised during StartTimedEvent %S",
                                  "the launch thread could not be started");
                launchStarted_.store(0);
            }
            return;
        }
        logger_->LogInfo(L"DeviceControlService - No background task needed.");
    } catch (const std::exception& error) {
        logger_->LogError(L"DeviceControlService - Exception raised during StartTimedEvent %S", error.what());
    }
}

bool CompanionLaunch::Wait(uint64_t milliseconds) {
    platform::IClock& clock = platform_.Clock();
    const uint64_t deadline = clock.SteadyMilliseconds() + milliseconds;
    deadline_.store(deadline);
    const bool reached = clock.SleepUntil(deadline, stopFlag_);
    if (reached && !stopFlag_.load()) return true;
    logger_->LogInfo(L"DeviceControlService - Thread stopping early due to stop flag");
    phase_.store(Phase::Finished);
    return false;
}

void CompanionLaunch::Run() {
    phase_.store(Phase::InitialWait);
    logger_->LogInfo(L"DeviceControlService - Waiting initial 5 minutes");
    if (!Wait(kInitialWaitMilliseconds)) return;
    if (oobe_.load()) {
        phase_.store(Phase::FirstRunWait);
        logger_->LogInfo(L"DeviceControlService - OOBE triggered, waiting 55 additional mins");
        if (!Wait(kFirstRunWaitMilliseconds)) return;
    }
    phase_.store(Phase::Starting);
    logger_->LogInfo(L"DeviceControlService - Starting Lumen App.");
    const bool started = UserSession(platform_).StartPackagedApplication(kPackageFamilyName, kExecutable);
    logger_->LogInfo(L"DeviceControlService - Lumen App started return: %d", started ? 1 : 0);
    logger_->LogInfo(L"DeviceControlService - Finished StartTimedEvent. (return)");
    phase_.store(Phase::Finished);
}

uint64_t CompanionLaunch::RemainingMilliseconds() {
    const Phase phase = phase_.load();
    if (phase != Phase::InitialWait && phase != Phase::FirstRunWait) return 0;
    const uint64_t now = platform_.Clock().SteadyMilliseconds();
    const uint64_t deadline = deadline_.load();
    return deadline > now ? deadline - now : 0;
}

const char* CompanionLaunch::PhaseName(Phase phase) {
    switch (phase) {
        case Phase::Idle: return "none";
        case Phase::InitialWait: return "initial wait";
        case Phase::FirstRunWait: return "first-run wait";
        case Phase::Starting: return "starting";
        case Phase::Finished: return "finished";
    }
    return "none";
}

LaunchStatus CompanionLaunch::Describe() {
    LaunchStatus status;
    if (const auto featureByte = ReadFeatureByte()) status.featureByte = *featureByte;
    status.board = GetSysId();
    status.boardListed = IsListed(status.board);
    status.eligible = status.featureByte > 0 || status.boardListed;
    status.realUserSession = UserSession(platform_).IsRealUserSession();
    status.package = FindCompanionPackage();
    status.launchedAlready = CheckAppLaunched();
    status.launchStarted = LaunchStarted();
    status.phase = PhaseName(CurrentPhase());
    status.remainingMilliseconds = RemainingMilliseconds();

    const Phase phase = CurrentPhase();
    if (phase == Phase::InitialWait || phase == Phase::FirstRunWait)
        status.verdict = "waiting: the companion application starts when the wait ends";
    else if (phase == Phase::Starting || phase == Phase::Finished)
        status.verdict = "the launch has run on this service";
    else if (!status.eligible)
        status.verdict = "not started: this machine has neither the feature byte nor a listed board";
    else if (!status.realUserSession)
        status.verdict = "not yet: no real user is signed in; the next logon or unlock tries again";
    else if (status.package.empty())
        status.verdict = "not started: the companion package is not installed for the user";
    else if (status.launchedAlready)
        status.verdict = "not started: the user has launched it already";
    else if (status.launchStarted)
        status.verdict = "not started: this service has settled the launch already";
    else
        status.verdict = "will start: 5 minutes after start-up (55 more after the first-run experience)";
    return status;
}

bool CompanionLaunch::IsAppSupportedOnDevice() {
    if (IsAIPC()) {
        logger_->LogInfo(L"DeviceControlService::IsAppSupportedOnDevice - Expected FB present");
        return true;
    }
    const bool supported = IsSysIdSupported();
    logger_->LogInfo(supported ? L"DeviceControlService::IsAppSupportedOnDevice - System ID is supported"
                               : L"DeviceControlService::IsAppSupportedOnDevice - System ID is not supported");
    return supported;
}

std::optional<uint8_t> CompanionLaunch::ReadFeatureByte() {
    FirmwareCommandClient firmware(platform_, "DeviceControlService");
    uint8_t output[4] = {};
    uint32_t returnCode = 0;
    const int32_t result = firmware.ExecuteCommand(kFeatureByteCommand, FirmwareCommandClient::kCommandType, 0,
                                                   nullptr, sizeof output, output, returnCode);
    if (result < 0 || returnCode != 0) return std::nullopt;
    return output[0];
}

bool CompanionLaunch::IsAIPC() {
    const auto featureByte = ReadFeatureByte();
    if (!featureByte) {
        logger_->LogError(L"DeviceControlService::IsAIPC - Failed to read feature byte");
        return false;
    }
    logger_->LogInfo(L"DeviceControlService::IsAIPC - Is feature byte found?: %d", *featureByte);
    return *featureByte != 0;
}

std::wstring CompanionLaunch::GetSysId() {
    static constexpr const char* kName = "DeviceControlService::GetSysId";
    WmiAccessor wmi(platform_, kName);
    auto product = wmi.ReadString(L"Product", L"Win32_BaseBoard", nullptr, L"ROOT\\CIMV2");
    if (!product) {
        logger_->LogError(L"%S - Failed to retrieve unit information", kName);
        return {};
    }
    return *product;
}

bool CompanionLaunch::IsSysIdSupported() {
    const std::wstring id = GetSysId();
    if (id.empty()) {
        logger_->LogError(L"%S - Failed to retrieve system ID", "DeviceControlService::IsSysIdSupported");
        return false;
    }
    return IsListed(id);
}

bool CompanionLaunch::IsListed(const std::wstring& board) {
    const auto boards = SupportedBoards();
    return std::any_of(boards.begin(), boards.end(), [&](const wchar_t* listed) { return board == listed; });
}

bool CompanionLaunch::CheckAppLaunched() {
    UserSession user(platform_);
    if (!user.ImpersonateUser()) {
        logger_->LogError(L"DeviceControlService::CheckAppLaunched ImpersonateUser failed");
        return false;
    }
    const platform::IUserRegistry::Read read = platform_.AreaPort<platform::IUserRegistry>().ReadString(kLaunchKey, kLaunchValue);
    user.Revert();
    using Outcome = platform::IUserRegistry::Read::Outcome;
    switch (read.outcome) {
        case Outcome::HiveNotOpened:
            logger_->LogError(L"DeviceControlService::CheckAppLaunched RegOpenCurrentUser failed");
            return false;
        case Outcome::KeyNotFound:
            logger_->LogError(L"DeviceControlService::CheckAppLaunched Registry key not found");
            return false;
        case Outcome::ValueInvalid:
            logger_->LogError(L"DeviceControlService::CheckAppLaunched Registry value not found or invalid");
            return false;
        case Outcome::Value: break;
    }
    if (read.text == L"True") {
        logger_->LogInfo(L"DeviceControlService::CheckAppLaunched Registry value is 'True', skipping launch.");
        return true;
    }
    logger_->LogInfo(
        L"DeviceControlService::CheckAppLaunched Launching application because registry value is not 'True'.");
    return false;
}

std::wstring CompanionLaunch::FindCompanionPackage() {
    platform::OwnedHandle token;
    if (!UserSession(platform_).GetUserTokenForCurrentUser(token)) return {};
    platform::IStorePackages& packages = platform_.Packages();
    auto user = packages.TokenUser(token.get());
    if (!user) {
        Logging::LogApiError(logger_, "DeviceControlService", "FindCompanionPackage", L"GetTokenInformation",
                             user.Status());
        return {};
    }
    auto found = packages.PackagesOfFamily(kPackageFamilyName, *user);
    if (!found) {
        Logging::LogComFailure(logger_, "DeviceControlService", "FindCompanionPackage",
                               L"PackageManager->FindPackagesForUser", static_cast<unsigned long>(found.Status()));
        return {};
    }
    return found->empty() ? std::wstring() : found->front().fullName;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
