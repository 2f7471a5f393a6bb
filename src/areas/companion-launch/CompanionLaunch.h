#pragma once
// The companion application's launch: once per user, on machines that qualify, some minutes
// after start-up, unless the user has launched it already. One per service, kept in the
// service's area state; its thread ends with it.
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "core/logging.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// Windows session-change notification codes (WTS_SESSION_*).
constexpr unsigned long kWtsSessionLogon = 5;
constexpr unsigned long kWtsSessionLock = 7;
constexpr unsigned long kWtsSessionUnlock = 8;

// Why the companion application will or will not be started on this machine, for a person.
struct LaunchStatus {
    int featureByte = -1;  // -1: the firmware could not be asked
    std::wstring board;    // empty: unknown
    bool boardListed = false;
    bool eligible = false;
    bool realUserSession = false;
    std::wstring package;  // the user's companion package; empty: not installed
    bool launchedAlready = false;
    bool launchStarted = false;  // armed, or settled for good, on this service
    std::string phase;           // the launch thread's wait: "none", "initial wait", ...
    uint64_t remainingMilliseconds = 0;
    std::string verdict;
};

class CompanionLaunch {
public:
    static constexpr const wchar_t* kPackageFamilyName = L"5E0C2A91.LumenCenter_k4m2x9trq7bw3";
    static constexpr const wchar_t* kExecutable = L"LumenCenter.exe";
    static constexpr const wchar_t* kLaunchKey = L"Software\\QV\\MARLINSPIKE";
    static constexpr const wchar_t* kLaunchValue = L"Launch";
    static constexpr uint64_t kInitialWaitMilliseconds = 5 * 60 * 1000;
    static constexpr uint64_t kFirstRunWaitMilliseconds = 55 * 60 * 1000;
    // The firmware command that reads the feature byte (the first byte of a 4-byte answer).
    static constexpr uint32_t kFeatureByteCommand = 3;

    explicit CompanionLaunch(platform::Platform& platform);
    // Stops (below).
    ~CompanionLaunch();
    // Stops the launch thread at once (its wait ends with the stop message) and joins it; no
    // notification starts another one afterwards.
    void Stop();
    CompanionLaunch(const CompanionLaunch&) = delete;
    CompanionLaunch& operator=(const CompanionLaunch&) = delete;

    // Decides whether the launch is needed and starts the launch thread if so.
    void StartTimedEvent();
    // Logon and unlock arm the launch while it is not armed yet; other events are ignored.
    void SessionChanged(unsigned long event);
    // The first-run experience ended: the launch waits longer.
    void FirstRunEnded() { oobe_.store(true); }

    bool IsAppSupportedOnDevice();
    bool IsAIPC();
    std::wstring GetSysId();
    bool IsSysIdSupported();
    bool CheckAppLaunched();
    // The companion package's full name for the signed-in user; empty when it has none.
    std::wstring FindCompanionPackage();

    bool LaunchStarted() const { return launchStarted_.load() != 0; }
    bool OobeReceived() const { return oobe_.load(); }
    enum class Phase { Idle, InitialWait, FirstRunWait, Starting, Finished };
    Phase CurrentPhase() const { return phase_.load(); }
    // Milliseconds left of the wait in progress (0 when none).
    uint64_t RemainingMilliseconds();
    static const char* PhaseName(Phase phase);
    // Every check of StartTimedEvent, without arming anything, and this object's wait.
    LaunchStatus Describe();

private:
    void Run();
    // The firmware's feature byte; nothing when the firmware cannot be asked or refuses.
    std::optional<uint8_t> ReadFeatureByte();
    // Whether `board` is one of the supported board identifiers (exactly, case and all).
    static bool IsListed(const std::wstring& board);
    // Waits on the clock; false (logged, the thread finished) when the stop flag ended the wait.
    bool Wait(uint64_t milliseconds);

    platform::Platform& platform_;
    Logging::TraceLogger* logger_;
    std::mutex timedEventMutex_;  // guards thread_ and the decision to start it
    platform::ModuleThread thread_;
    std::atomic<int32_t> launchStarted_{0};
    std::atomic<bool> stopFlag_{false};
    std::atomic<bool> oobe_{false};
    std::atomic<Phase> phase_{Phase::Idle};
    std::atomic<uint64_t> deadline_{0};
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
