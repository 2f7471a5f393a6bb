// The companion launch through the service's notifications, on the simulated laptop and clock.
#include "areas/companion-launch/CompanionLaunch.h"
#include "areas/companion-launch/sim/SimUserRegistry.h"
#include "unit/ServiceFixture.h"

#include <atomic>
#include <thread>
#include <vector>

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

constexpr const wchar_t* kFamily = L"5E0C2A91.LumenCenter_k4m2x9trq7bw3";
constexpr const wchar_t* kUser = L"S-1-5-21-2079104543-3203125434-1873629513-1001";
constexpr uint64_t kMinute = 60 * 1000;

class CompanionLaunchTest : public ServiceFixture {
protected:
    CompanionLaunchTest() {
        // An eligible machine by its board (listed in the test builds' board list), the
        // companion installed for the signed-in user, who has not launched it yet.
        SetBoard(L"8A3F");
        device.SimulatedPackages().Install(Sim::SimStorePackages::Package(kFamily, L"3.1.0.0"), {kUser});
        Sim::SimulatedUserRegistry(device).SetString(L"Software\\QV\\MARLINSPIKE", L"Launch", L"False");
    }

    void SetBoard(const std::wstring& board) {
        device.SimulatedWmi().SetInstances(L"ROOT\\CIMV2", L"Win32_BaseBoard", {{{L"Product", board}}});
    }
    CompanionLaunch* Launch() { return service->FindAreaState<CompanionLaunch>(); }
    Sim::SimClock& Clock() { return device.SimulatedClock(); }
    bool WaitForPhase(CompanionLaunch::Phase phase) {
        return WaitFor([&] { return Launch() != nullptr && Launch()->CurrentPhase() == phase; });
    }
    // The launch thread is asleep on the clock in the wait it is in (a test without one fails).
    void WaitForSleep() { ASSERT_TRUE(WaitFor([&] { return Clock().Sleepers() >= 1; })) << "no launch thread waits"; }
    std::vector<std::wstring> Started() { return device.StartedPackages(); }
    const std::vector<std::wstring> kStarted{
        L"C:\\Program Files\\WindowsApps\\5E0C2A91.LumenCenter_3.1.0.0_x64__k4m2x9trq7bw3\\LumenCenter.exe"};
};

// A notification that comes while the service is going (its launch stopped) starts no thread that
// nobody would join.
TEST_F(CompanionLaunchTest, NoLaunchThreadStartsOnceStopped) {
    CompanionLaunch launch(device);
    launch.Stop();
    launch.StartTimedEvent();
    launch.SessionChanged(5);
    EXPECT_FALSE(launch.LaunchStarted());
    EXPECT_EQ(launch.CurrentPhase(), CompanionLaunch::Phase::Idle);
    EXPECT_EQ(Clock().Sleepers(), 0);
}

TEST_F(CompanionLaunchTest, StartsTheCompanionFiveMinutesAfterStartUpNotAMinuteLess) {
    service->startup_task();
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAppSupportedOnDevice - System ID is supported"));
    EXPECT_TRUE(log->Contains(
        L"DeviceControlService - packageNameFound: 5E0C2A91.LumenCenter_3.1.0.0_x64__k4m2x9trq7bw3"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - IsRealUserSession = 1, appInstalled = 1, "
                              L"appRelaunchedAlready = 0, takenCare = 0"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Waiting to start Lumen App."));
    EXPECT_TRUE(Launch()->LaunchStarted());
    WaitForSleep();
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Waiting initial 5 minutes"));

    Clock().Advance(5 * kMinute - 1);
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::InitialWait);
    EXPECT_EQ(Launch()->RemainingMilliseconds(), 1u);
    EXPECT_TRUE(Started().empty());
    Clock().Advance(1);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::Finished));
    EXPECT_EQ(Started(), kStarted);
    EXPECT_FALSE(log->Contains(L"OOBE triggered"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Starting Lumen App."));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Lumen App started return: 1"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Finished StartTimedEvent. (return)"));

    // Armed once: later notifications do not start it again.
    service->session_change_task(5, nullptr);
    EXPECT_FALSE(log->Contains(L"WTS_SESSION_LOGON received."));
}

TEST_F(CompanionLaunchTest, AfterTheFirstRunExperienceItWaits55MinutesMore) {
    EXPECT_TRUE(service->oobe_event_task());
    service->startup_task();
    WaitForSleep();
    Clock().Advance(5 * kMinute);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::FirstRunWait));
    WaitForSleep();
    EXPECT_TRUE(log->Contains(L"DeviceControlService - OOBE triggered, waiting 55 additional mins"));
    Clock().Advance(55 * kMinute - 1);
    EXPECT_EQ(Launch()->RemainingMilliseconds(), 1u);
    EXPECT_TRUE(Started().empty());
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::FirstRunWait);
    Clock().Advance(1);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::Finished));
    EXPECT_EQ(Started(), kStarted);
}

// The first run's end can come while the initial wait runs: the wait goes on, and 55 minutes more
// follow it.
TEST_F(CompanionLaunchTest, TheFirstRunEndingDuringTheInitialWaitAddsItsWait) {
    service->startup_task();
    WaitForSleep();
    Clock().Advance(2 * kMinute);
    EXPECT_TRUE(service->oobe_event_task());
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::InitialWait);
    Clock().Advance(3 * kMinute);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::FirstRunWait));
    WaitForSleep();
    EXPECT_EQ(Launch()->RemainingMilliseconds(), 55 * kMinute);
    EXPECT_TRUE(Started().empty());
    Clock().Advance(55 * kMinute);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::Finished));
    EXPECT_EQ(Started(), kStarted);
}

TEST_F(CompanionLaunchTest, DestroyingTheServiceEndsEitherWaitAtOnce) {
    for (const bool firstRun : {false, true}) {
        log->Clear();
        service = std::make_unique<DeviceControlService>(device);
        if (firstRun) service->oobe_event_task();
        service->startup_task();
        WaitForSleep();
        if (firstRun) {
            Clock().Advance(5 * kMinute);
            ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::FirstRunWait));
            WaitForSleep();
        }
        // No clock movement: only the stop flag can end the wait, and the destructor joins.
        service.reset();
        EXPECT_EQ(log->Count(LogLevel::Info, L"DeviceControlService - Thread stopping early due to stop flag"), 1u)
            << "first run " << firstRun;
        EXPECT_EQ(Clock().Sleepers(), 0u);
        EXPECT_TRUE(Started().empty());
        EXPECT_FALSE(log->Contains(L"Starting Lumen App."));
    }
}

TEST_F(CompanionLaunchTest, AMachineThatDoesNotQualifyIsSettledForGood) {
    SetBoard(L"8A40");
    service->startup_task();
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAIPC - Is feature byte found?: 0"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAppSupportedOnDevice - System ID is not supported"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - App not supported on device."));
    EXPECT_TRUE(Launch()->LaunchStarted());
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::Idle);
    service->session_change_task(5, nullptr);
    service->session_change_task(8, nullptr);
    EXPECT_FALSE(log->Contains(L"received."));
    EXPECT_EQ(log->Count(LogLevel::Info, L"App not supported on device."), 1u);
    EXPECT_EQ(Clock().Sleepers(), 0u);
    EXPECT_TRUE(Started().empty());
}

TEST_F(CompanionLaunchTest, TheFeatureByteOrAListedBoardQualifies) {
    CompanionLaunch launch(device);
    // The feature byte alone: a board of no list.
    SetBoard(L"0000");
    device.SimulatedWmi().Firmware().featureByte = 1;
    EXPECT_TRUE(launch.IsAppSupportedOnDevice());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAIPC - Is feature byte found?: 1"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAppSupportedOnDevice - Expected FB present"));
    EXPECT_EQ(device.SimulatedWmi().FirmwareMethods().back(), L"qvkBIOSInt4");
    EXPECT_EQ(device.SimulatedWmi().LastFirmwareInput(), std::vector<uint8_t>{});

    device.SimulatedWmi().Firmware().featureByte = 0;
    // Both boards of the test list, and near misses of them.
    for (const wchar_t* board : {L"8A3F", L"8C1D"}) {
        SetBoard(board);
        EXPECT_TRUE(launch.IsSysIdSupported()) << board;
    }
    for (const wchar_t* board : {L"8a3f", L"8A3E", L"8A3F ", L"08A3F", L"8C1"}) {
        SetBoard(board);
        EXPECT_FALSE(launch.IsSysIdSupported()) << board;
    }

    // The firmware cannot be asked: the board decides.
    device.SimulatedWmi().Firmware().present = false;
    SetBoard(L"8C1D");
    EXPECT_TRUE(launch.IsAppSupportedOnDevice());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAIPC - Failed to read feature byte"));
    // A firmware that answers with a return code other than 0 did not read it either.
    device.SimulatedWmi().Firmware().present = true;
    device.SimulatedWmi().Firmware().returnCode = 1;
    device.SimulatedWmi().Firmware().featureByte = 1;
    log->Clear();
    EXPECT_FALSE(launch.IsAIPC());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsAIPC - Failed to read feature byte"));

    // No board at all.
    device.SimulatedWmi().SetInstances(L"ROOT\\CIMV2", L"Win32_BaseBoard", {});
    EXPECT_EQ(launch.GetSysId(), L"");
    EXPECT_FALSE(launch.IsSysIdSupported());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::GetSysId - Failed to retrieve unit information"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService::IsSysIdSupported - Failed to retrieve system ID"));
}

TEST_F(CompanionLaunchTest, NoRealUserYetLeavesItToTheNextLogon) {
    device.SetUserEnvironment(L"USERPROFILE", L"C:\\Users\\defaultuser0");
    service->startup_task();
    EXPECT_EQ(log->Count(LogLevel::Warning, L"DeviceControlService - Not real user session. Let other event handle."),
              1u);
    EXPECT_TRUE(log->Contains(L"IsRealUserSession = 0"));
    EXPECT_FALSE(Launch()->LaunchStarted());
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::Idle);

    // The lock screen is not a logon; the real user's logon is.
    service->session_change_task(7, nullptr);
    EXPECT_FALSE(log->Contains(L"received."));
    device.SetUserEnvironment(L"USERPROFILE", L"C:\\Users\\Avery");
    service->session_change_task(5, nullptr);
    EXPECT_TRUE(log->Contains(L"DeviceControlService::sesion_change_task - WTS_SESSION_LOGON received."));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - Waiting to start Lumen App."));
    EXPECT_TRUE(Launch()->LaunchStarted());
    WaitForSleep();

    // A start-up notification while the thread waits (it clears nothing that counts): one thread.
    device.SetUserEnvironment(L"USERPROFILE", L"C:\\Users\\Default");
    service->startup_task();
    device.SetUserEnvironment(L"USERPROFILE", L"C:\\Users\\Avery");
    service->session_change_task(8, nullptr);
    EXPECT_TRUE(log->Contains(L"DeviceControlService::sesion_change_task - WTS_SESSION_UNLOCK received."));
    EXPECT_TRUE(log->Contains(L"takenCare = 1"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - No background task needed."));
    EXPECT_EQ(log->Count(LogLevel::Info, L"Waiting to start Lumen App."), 1u);
    Clock().Advance(5 * kMinute);
    ASSERT_TRUE(WaitForPhase(CompanionLaunch::Phase::Finished));
    EXPECT_EQ(Started(), kStarted);
}

TEST_F(CompanionLaunchTest, TheUsersLaunchValueDecides) {
    auto& registry = Sim::SimulatedUserRegistry(device);
    CompanionLaunch launch(device);
    registry.SetString(L"Software\\QV\\MARLINSPIKE", L"Launch", L"True");
    EXPECT_TRUE(launch.CheckAppLaunched());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::CheckAppLaunched Registry value is 'True', skipping launch."));
    EXPECT_FALSE(device.Impersonating()) << "the impersonation is reverted";
    for (const wchar_t* text : {L"true", L"TRUE", L"True ", L"1", L""}) {
        registry.SetString(L"Software\\QV\\MARLINSPIKE", L"Launch", text);
        EXPECT_FALSE(launch.CheckAppLaunched()) << text;
    }
    EXPECT_EQ(log->Count(LogLevel::Info, L"DeviceControlService::CheckAppLaunched Launching application because "
                                         L"registry value is not 'True'."),
              5u);

    registry.SetNonString(L"Software\\QV\\MARLINSPIKE", L"Launch");
    EXPECT_FALSE(launch.CheckAppLaunched());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::CheckAppLaunched Registry value not found or invalid"));
    registry.SetHiveUnavailable(true);
    EXPECT_FALSE(launch.CheckAppLaunched());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::CheckAppLaunched RegOpenCurrentUser failed"));
    registry.SetHiveUnavailable(false);
    device.SetRunningAsSystem(false);
    EXPECT_FALSE(launch.CheckAppLaunched());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::CheckAppLaunched ImpersonateUser failed"));
    EXPECT_FALSE(device.Impersonating());
}

TEST_F(CompanionLaunchTest, TrueSkipsLowerCaseTrueLaunchesAndAMissingKeyLaunches) {
    Sim::SimulatedUserRegistry(device).SetString(L"Software\\QV\\MARLINSPIKE", L"Launch", L"True");
    service->startup_task();
    EXPECT_TRUE(log->Contains(L"appRelaunchedAlready = 1"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - No background task needed."));
    EXPECT_EQ(Launch()->CurrentPhase(), CompanionLaunch::Phase::Idle);

    for (const bool keyMissing : {false, true}) {
        log->Clear();
        service = std::make_unique<DeviceControlService>(device);
        if (keyMissing) {
            // A user who never had the key: a fresh registry of the device's world.
            device.PutAreaPort<platform::IUserRegistry>(std::make_shared<Sim::SimUserRegistry>(device.World()));
        } else {
            Sim::SimulatedUserRegistry(device).SetString(L"Software\\QV\\MARLINSPIKE", L"Launch", L"true");
        }
        service->startup_task();
        EXPECT_TRUE(log->Contains(L"appRelaunchedAlready = 0")) << keyMissing;
        if (keyMissing) {
            EXPECT_TRUE(log->Contains(L"DeviceControlService::CheckAppLaunched Registry key not found"));
        }
        EXPECT_TRUE(log->Contains(L"DeviceControlService - Waiting to start Lumen App.")) << keyMissing;
    }
}

TEST_F(CompanionLaunchTest, NothingToStartWithoutThePackage) {
    device.WithWorld([](Sim::SimWorld& world) { world.packages.clear(); });
    service->startup_task();
    EXPECT_TRUE(log->Contains(L"DeviceControlService - packageNameFound: "));
    EXPECT_TRUE(log->Contains(L"appInstalled = 0"));
    EXPECT_TRUE(log->Contains(L"DeviceControlService - No background task needed."));

    // Installed for another user only: not this user's package.
    device.SimulatedPackages().Install(Sim::SimStorePackages::Package(kFamily, L"3.1.0.0"), {L"S-1-5-21-1-2-3-1002"});
    log->Clear();
    service->session_change_task(8, nullptr);  // the flag is still clear
    EXPECT_TRUE(log->Contains(L"appInstalled = 0"));

    // No package manager: the query's failure is in the log, and nothing starts.
    device.SimulatedPackages().SetAvailable(false);
    log->Clear();
    service->session_change_task(5, nullptr);
    EXPECT_TRUE(log->Contains(L"DeviceControlService.FindCompanionPackage - failed on function "
                              L"PackageManager->FindPackagesForUser with HRESULT 0x80040154"));
    EXPECT_EQ(Clock().Sleepers(), 0u);
}

TEST_F(CompanionLaunchTest, NotificationsRacingEachOtherAndTheEndOfTheService) {
    // Host threads deliver start-up, first-run and session notifications at once while the clock
    // runs on; then the service is destroyed with the launch wherever it has got to. One launch
    // thread at most, none left behind (ThreadSanitizer runs this too).
    for (int round = 0; round < 20; ++round) {
        service = std::make_unique<DeviceControlService>(device);
        std::atomic<bool> ticking{true};
        std::thread clock([&] {
            while (ticking.load()) {
                Clock().Advance(kMinute);
                std::this_thread::yield();
            }
        });
        std::vector<std::thread> hosts;
        for (int i = 0; i < 4; ++i) {
            hosts.emplace_back([&, i] {
                for (int n = 0; n < 5; ++n) {
                    if (i == 0) service->startup_task();
                    if (i == 1) service->oobe_event_task();
                    if (i == 2) service->session_change_task(5, nullptr);
                    if (i == 3) service->session_change_task(8, nullptr);
                }
            });
        }
        for (auto& host : hosts) host.join();
        if (round % 2 == 0) ticking.store(false);
        service.reset();
        ticking.store(false);
        clock.join();
        EXPECT_LE(log->Count(LogLevel::Info, L"DeviceControlService - Waiting to start Lumen App."), 1u) << round;
        EXPECT_EQ(Clock().Sleepers(), 0u) << round;
        log->Clear();
    }
}

}  // namespace
}  // namespace Qv::Tests
