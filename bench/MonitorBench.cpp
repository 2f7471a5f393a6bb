// 256 sessions listening for low memory: what one polling round costs, and what a minute of
// waiting costs in CPU time (nothing may busy-wait). The simulated device with a real clock.
//   monitor_bench [IDLE_SECONDS]     (default 60)
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "areas/monitor/SystemMonitorHelper.h"
#include "areas/monitor/sim/SimBattery.h"
#include "areas/monitor/sim/SimMemoryStatus.h"
#include "platform/sim/SimDevice.h"
#include "service/DeviceControlService.h"

namespace {

using Qv::Bridge::Server::Services::DeviceControl::DeviceControlService;
using Qv::Bridge::Server::Services::DeviceControl::DeviceControlServiceContext;
using Qv::Bridge::Server::Services::DeviceControl::SystemMonitorHelper;
namespace platform = Qv::platform;
using Clock = std::chrono::steady_clock;

// Rounds as the polling thread runs them: from its memory reading to its next sleep.
struct Rounds {
    std::mutex mutex;
    Clock::time_point started;
    std::vector<double> milliseconds;
};

class RealClock : public platform::IClock {
public:
    explicit RealClock(Rounds& rounds) : rounds_(rounds) {}
    void Sleep(uint32_t ms) override { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
    uint64_t SteadyMilliseconds() override {
        return static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
    }
    bool SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) override {
        {
            std::lock_guard<std::mutex> lock(rounds_.mutex);
            rounds_.milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - rounds_.started).count());
        }
        std::unique_lock<std::mutex> lock(mutex_);
        return !woken_.wait_until(lock, Clock::time_point(std::chrono::milliseconds(deadline)), [&] { return stop.load(); });
    }
    void Wake() override {
        std::lock_guard<std::mutex> lock(mutex_);
        woken_.notify_all();
    }

private:
    Rounds& rounds_;
    std::mutex mutex_;
    std::condition_variable woken_;
};

class TimedMemory : public platform::IMemoryStatus {
public:
    TimedMemory(platform::IMemoryStatus& memory, Rounds& rounds) : memory_(memory), rounds_(rounds) {}
    platform::Result<uint32_t> MemoryLoad() override {
        std::lock_guard<std::mutex> lock(rounds_.mutex);
        rounds_.started = Clock::now();
        return memory_.MemoryLoad();
    }

private:
    platform::IMemoryStatus& memory_;
    Rounds& rounds_;
};

// The simulated device, but with a real clock and the polling rounds timed.
class TimedPlatform : public platform::Platform {
public:
    explicit TimedPlatform(Qv::Sim::SimDevice& device)
        : device_(device), clock_(rounds), memory_(std::make_shared<TimedMemory>(Qv::Sim::SimulatedMemory(device), rounds)) {
        PutAreaPort<platform::IMemoryStatus>(memory_);
        // The device's own battery, not owned here.
        PutAreaPort<platform::IBattery>(std::shared_ptr<platform::IBattery>(std::shared_ptr<void>(), &device.AreaPort<platform::IBattery>()));
    }
    platform::IUuidGenerator& Uuids() override { return device_.Uuids(); }
    platform::INamedEvents& Events() override { return device_.Events(); }
    platform::ICodeSignatures& Signatures() override { return device_.Signatures(); }
    platform::IFileSystem& Files() override { return device_.Files(); }
    platform::IUserSession& User() override { return device_.User(); }
    platform::IProcessLauncher& Processes() override { return device_.Processes(); }
    platform::IRpcCall& Rpc() override { return device_.Rpc(); }
    platform::IClock& Clock() override { return clock_; }
    platform::IWmi& Wmi() override { return device_.Wmi(); }
    platform::IStorePackages& Packages() override { return device_.Packages(); }
    platform::IThreads& Threads() override { return device_.Threads(); }

    Rounds rounds;

private:
    Qv::Sim::SimDevice& device_;
    RealClock clock_;
    std::shared_ptr<TimedMemory> memory_;
};

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int kSessions = 256;
    const int idleSeconds = argc > 1 ? std::atoi(argv[1]) : 60;
    Qv::Sim::SimDevice device;
    TimedPlatform ports(device);
    DeviceControlService service(ports);
    Qv::Sim::SimulatedMemory(device).SetMemoryLoad(40);
    std::vector<void*> sessions(kSessions, nullptr);
    std::vector<std::thread> listeners;
    std::atomic<int> messages{0};
    {
        SystemMonitorHelper monitor(&ports);
        for (int i = 0; i < kSessions; ++i) {
            service.StartSession(nullptr, &sessions[i]);
            auto* context = static_cast<DeviceControlServiceContext*>(sessions[i]);
            // Half of them report above 50 percent, the others never.
            const int threshold = i % 2 == 0 ? 50 : 100;
            listeners.emplace_back([&monitor, context, threshold, &messages] {
                monitor.RegisterDeviceStatusChange(SystemMonitorHelper::kLowMemoryEvent, threshold,
                                                   [&messages](wchar_t*) { ++messages; }, context);
            });
        }
        while (monitor.LowMemoryClients() < kSessions) std::this_thread::sleep_for(std::chrono::milliseconds(1));

        const double cpuBefore = CpuSeconds();
        std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
        const double idleCpu = CpuSeconds() - cpuBefore;

        // A round that finds half of the sessions over their threshold.
        Qv::Sim::SimulatedMemory(device).SetMemoryLoad(90);
        const auto crossing = Clock::now() + std::chrono::seconds(11);
        while (messages.load() < kSessions / 2 && Clock::now() < crossing)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));

        for (void* session : sessions)
            monitor.UnregisterDeviceStatusChange(SystemMonitorHelper::kLowMemoryEvent,
                                                 static_cast<DeviceControlServiceContext*>(session));
        for (auto& listener : listeners) listener.join();

        std::lock_guard<std::mutex> lock(ports.rounds.mutex);
        const auto& rounds = ports.rounds.milliseconds;
        const double worst = rounds.empty() ? 0 : *std::max_element(rounds.begin(), rounds.end());
        std::printf("%d listening sessions, %zu polling rounds, %d messages; rounds (ms):", kSessions, rounds.size(),
                    messages.load());
        for (double round : rounds) std::printf(" %.3f", round);
        std::printf("\n");
        std::printf("slowest round: %.3f ms (target: at most 1 ms) %s\n", worst, worst <= 1.0 ? "ok" : "OVER");
        std::printf("CPU time of %d idle seconds: %.3f s (%.3f%% of one core)\n", idleSeconds, idleCpu,
                    100.0 * idleCpu / idleSeconds);
    }
    for (void*& session : sessions) service.EndSession(&session);
    return 0;
}
