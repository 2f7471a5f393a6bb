// devicectl subscribe: command 31 held open on one thread, its event messages printed as they
// arrive; after the time given (or Ctrl-C) command 32 on another thread of the same session,
// then 31's own answer.
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "core/strings.h"
#include "tools/devicectl/Host.h"
#include "tools/devicectl/Subscribe.h"

namespace Qv::Devicectl {
namespace {

constexpr unsigned int kRegister = 31;
constexpr unsigned int kUnregister = 32;

std::atomic<bool> interrupted{false};

extern "C" void OnInterrupt(int) { interrupted = true; }

}  // namespace

int Subscribe(ServiceModule& module, const std::wstring& clientId, const SubscribeOptions& options) {
    HostSession host(module, clientId);
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    if (!options.memoryLoads.empty() && !module.CanSimulateMemoryLoad())
        return Usage("--memory-load is for the native build, which runs on the simulated device");

    std::wstring request = L"{\"eventId\":" + std::to_wstring(options.eventId);
    if (options.threshold) request += L",\"memoryThreshold\":" + std::to_wstring(*options.threshold);
    request += L"}";
    PrintLine(stdout, "subscribing: 31 " + Core::Narrow(request));

    std::atomic<bool> ended{false};
    int status = 0;
    std::thread subscription([&] {
        status = host.Execute(kRegister, request, "31: ");
        ended = true;
    });

    // Scripted memory loads: one polling round each, on the simulated clock.
    for (int load : options.memoryLoads) {
        if (ended.load()) break;
        module.SimulateMemoryLoad(load);
    }
    std::signal(SIGINT, OnInterrupt);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(options.milliseconds);
    while (!ended.load() && !interrupted.load() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::signal(SIGINT, SIG_DFL);

    if (!ended.load()) host.Execute(kUnregister, L"{\"eventId\":" + std::to_wstring(options.eventId) + L"}", "32: ");
    subscription.join();
    return status == 0 ? kExitOk : kExitStatus;
}

}  // namespace Qv::Devicectl
