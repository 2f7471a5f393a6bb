// Host threads calling the service at once: sessions opened and closed, commands of every kind,
// and log sinks coming and going while lines are written. Meant for ThreadSanitizer as much as
// for the answers.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "core/status.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

class ConcurrencyTest : public ServiceFixture {
protected:
    ConcurrencyTest() { device.InstallTool(TrustedTestKey()); }
};

TEST_F(ConcurrencyTest, SessionsAndCommandsFromSeveralThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 40;
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};

    // Log capture added and removed while other threads log.
    std::thread sinks([&] {
        while (!done.load()) Bridge::Logging::ScopedLogCapture capture;
    });
    std::vector<std::thread> hosts;
    for (int t = 0; t < kThreads; ++t) {
        hosts.emplace_back([&, t] {
            std::wstring client = L"host-" + std::to_wstring(t);
            for (int round = 0; round < kRounds; ++round) {
                void* session = nullptr;
                service->StartSession(client.data(), &session);
                const int speed = 1 + (t * kRounds + round) % 20;
                const Answer set = Call(92, L"{\"IValue\":" + std::to_wstring(speed) + L"}", session);
                const Answer get = Call(91, L"{}", session);
                const Answer unsupported = Call(14, L"{}", session);
                const Answer refused = Call(92, L"{\"IValue\":0}", session);
                const Answer broken = Call(93, L"{", session);
                if (set != Answer{Status::kSuccess, L"{\"result\":true}"} || get.status != Status::kSuccess ||
                    unsupported != Answer{Status::kUnsupportedFunction, L"{}"} ||
                    refused != Answer{Status::kArgumentCheckFailed, L"{}"} ||
                    broken != Answer{Status::kInvalidJson, std::nullopt}) {
                    ++wrong;
                }
                service->EndSession(&session);
            }
        });
    }
    for (auto& host : hosts) host.join();
    done = true;
    sinks.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(log->Count(LogLevel::Error, L"Unsupported Function call 14"), static_cast<size_t>(kThreads * kRounds));
    EXPECT_FALSE(device.Impersonating());
    EXPECT_EQ(device.PinnedFiles(), 0);
}

}  // namespace
}  // namespace Qv::Tests
