// The service under load on the simulated laptop: host threads each running a weighted mix of
// every live command, with sessions started and ended and subscriptions (31/32) opened and
// closed as they go. Run plain, under ASan+UBSan and under TSan; a sanitizer report or a hang
// fails it. Prints the commands run, the time, and the resident memory at the start, the end and
// its peak.
//   load_test [--threads N] [--commands N]        (defaults: 8 threads x 100000 commands)
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "core/logging.h"
#include "platform/sim/SimDevice.h"
#include "security/Authenticode.h"
#include "service/DeviceControlService.h"

namespace {

using Qv::Bridge::Server::Services::DeviceControl::CommandTable;
using Qv::Bridge::Server::Services::DeviceControl::DeviceControlService;

struct Weighted {
    unsigned number;
    const wchar_t* input;
    int weight;
};

// Cheap answers weigh most; commands that run the tool, PowerShell or a store save weigh less.
const Weighted kMix[] = {
    {14, L"{}", 30},
    {92, L"{\"IValue\":0}", 20},
    {101, L"{}", 20},
    {102, L"{}", 20},
    {131, L"{}", 10},
    {42, L"{\"dataFlow\":0}", 15},
    {44, L"{\"dataFlow\":1}", 15},
    {41, L"{\"dataFlow\":0}", 8},
    {43, L"{\"dataFlow\":1,\"enable\":false}", 5},
    {45, L"{\"dataFlow\":0,\"volume\":40}", 5},
    {46, L"{\"dataFlow\":1,\"enable\":true}", 3},
    {79, L"{\"IValue\":1}", 2},
    {61, L"{}", 10},
    {62, L"{\"IValue\":45}", 3},
    {70, L"{}", 15},
    {72, L"{}", 8},
    {74, L"{}", 8},
    {69, L"{}", 8},
    {71, L"{\"IValue\":17}", 3},
    {73, L"{\"Mode\":1}", 3},
    {75, L"{\"RedGain\":90,\"GreenGain\":80,\"BlueGain\":70}", 3},
    {77, L"{}", 10},
    {78, L"{\"IValue\":55}", 3},
    {63, L"{}", 2},
    {66, L"{}", 2},
    {67, L"{}", 2},
    {68, L"{\"IValue\":7}", 1},
    {76, L"{}", 2},
    {91, L"{}", 4},
    {92, L"{\"IValue\":10}", 2},
    {93, L"{}", 1},
    {121, L"{}", 3},
    {122, L"{\"BValue\":true}", 1},
    {1, L"{}", 2},
    {2, L"{}", 2},
    {3, L"{\"IValue\":150}", 1},
    {5, L"{}", 2},
    {6, L"{\"BValue\":false}", 1},
    {13, L"{}", 2},
    {21, L"{\"SValue\":\"Calculator\"}", 1},
    {103, L"{\"IValue\":1}", 2},
    {110, L"{\"ModeName\":\"music\",\"UserPicks\":[]}", 2},
    {111, L"{}", 2},
    {132, L"{}", 2},
    {1, L"{", 2},  // malformed
};

long ResidentKiB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    return -1;
}

long PeakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

int Run(DeviceControlService& service, unsigned number, const wchar_t* text, void* session,
        std::function<void(wchar_t*)> callback = {}) {
    std::wstring input = text;
    wchar_t* output = nullptr;
    const int status = service.ExecuteCommand(session, number, input.data(), &output, std::move(callback), nullptr);
    service.ReleaseOutput(output);
    return status;
}

// Ends a subscription of `session` held by `holder`: 32 until it answers that it ended one.
void EndSubscription(DeviceControlService& service, void* session, std::thread& holder) {
    for (;;) {
        std::wstring input = L"{\"eventId\":1002}";
        wchar_t* output = nullptr;
        service.ExecuteCommand(session, 32, input.data(), &output, {}, nullptr);
        const bool ended = output != nullptr && std::wstring(output) == L"{\"result\":11}";
        service.ReleaseOutput(output);
        if (ended) break;
        std::this_thread::yield();
    }
    holder.join();
}

}  // namespace

int main(int argc, char** argv) {
    int threads = 8;
    long commands = 100000;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--threads") threads = std::atoi(argv[i + 1]);
        if (option == "--commands") commands = std::atol(argv[i + 1]);
    }
    auto device = std::make_shared<Qv::Sim::SimDevice>();
    const auto& trusted = Qv::Bridge::Security::TrustTables::Builtin().extended;
    if (!trusted.empty()) {
        const auto key = Qv::Bridge::Security::ParsePublicKey(trusted.back().publicKey);
        device->InstallTool(key);
        device->InstallSigned(L"QVDC.dll", key);
    }
    Qv::platform::Install(device);
    auto service = std::make_unique<DeviceControlService>(*device, CommandTable::Standard());

    std::vector<int> pool;
    for (size_t i = 0; i < std::size(kMix); ++i)
        for (int w = 0; w < kMix[i].weight; ++w) pool.push_back(static_cast<int>(i));

    const long startKiB = ResidentKiB();
    std::atomic<long> done{0};
    std::atomic<long> subscriptions{0};
    std::atomic<long> sessions{0};
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            std::mt19937 random(static_cast<unsigned>(t * 7919 + 1));
            std::uniform_int_distribution<size_t> pick(0, pool.size() - 1);
            void* session = nullptr;
            service->StartSession(const_cast<wchar_t*>(L"load"), &session);
            sessions++;
            std::unique_ptr<std::thread> holder;
            for (long i = 0; i < commands; ++i) {
                // Every 500 commands a subscription opens on this session, and closes 250 later;
                // every 2000 the session itself is ended and a new one started.
                if (i % 500 == 100 && !holder) {
                    holder = std::make_unique<std::thread>([&, session] {
                        Run(*service, 31, L"{\"eventId\":1002,\"memoryThreshold\":0}", session, [](wchar_t*) {});
                    });
                    subscriptions++;
                } else if (i % 500 == 350 && holder) {
                    EndSubscription(*service, session, *holder);
                    holder.reset();
                }
                if (i % 2000 == 1999 && !holder) {
                    service->EndSession(&session);
                    service->StartSession(const_cast<wchar_t*>(L"load"), &session);
                    sessions++;
                }
                const Weighted& command = kMix[static_cast<size_t>(pool[pick(random)])];
                Run(*service, command.number, command.input, session);
                done++;
            }
            if (holder) EndSubscription(*service, session, *holder);
            service->EndSession(&session);
        });
    }
    for (std::thread& worker : workers) worker.join();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long endKiB = ResidentKiB();
    service.reset();  // the last service: the polling thread and the helpers' resources end

    std::printf("load: %d threads x %ld commands = %ld commands in %.1f s (%.0f per second)\n", threads, commands,
                done.load(), seconds, static_cast<double>(done.load()) / seconds);
    std::printf("load: %ld sessions, %ld subscriptions opened and closed\n", sessions.load(), subscriptions.load());
    std::printf("load: resident %ld KiB at the start, %ld KiB at the end (growth %ld KiB), peak %ld KiB\n", startKiB,
                endKiB, endKiB - startKiB, PeakKiB());
    return done.load() == static_cast<long>(threads) * commands ? 0 : 1;
}
