// Device status events on the simulated device: subscriptions held open on host threads, the
// polling thread driven round by round on the simulated clock, battery changes from the
// simulated power manager.
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "core/status.h"
#include "areas/monitor/SystemMonitorHelper.h"
#include "areas/monitor/sim/SimBattery.h"
#include "areas/monitor/sim/SimMemoryStatus.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;
using platform::IBattery;

// Command 31 held open on a thread of its own, as a host thread carries it.
class Subscription {
public:
    using Call = std::function<Answer(const std::wstring&, std::function<void(wchar_t*)>)>;

    Subscription(const Call& call, std::wstring json, bool throwOnFirst = false) {
        thread_ = std::thread([this, call, json, throwOnFirst] {
            Answer answer = call(json, [this, throwOnFirst](wchar_t* text) {
                std::lock_guard<std::mutex> lock(mutex_);
                messages_.push_back(text);
                if (throwOnFirst && messages_.size() == 1) throw std::runtime_error("client went away");
            });
            std::lock_guard<std::mutex> lock(mutex_);
            answer_ = answer;
        });
    }
    ~Subscription() {
        if (thread_.joinable()) thread_.join();
    }

    // The final answer of command 31, once the subscription has ended.
    Answer Finish() {
        thread_.join();
        return *answer_;
    }
    std::vector<std::wstring> Messages() {
        std::lock_guard<std::mutex> lock(mutex_);
        return messages_;
    }
    bool Ended() {
        std::lock_guard<std::mutex> lock(mutex_);
        return answer_.has_value();
    }

private:
    std::mutex mutex_;
    std::vector<std::wstring> messages_;
    std::optional<Answer> answer_;
    std::thread thread_;
};

class SystemMonitorTest : public ServiceFixture {
protected:
    SystemMonitorTest() { service->StartSession(nullptr, &session); }
    ~SystemMonitorTest() override {
        service->EndSession(&session);
        // The polling thread ends at its next round once nobody listens; no test leaves it behind.
        EXPECT_TRUE(WaitFor([&] {
            if (!Monitor().MonitorRunning()) return true;
            device.SimulatedClock().Advance(SystemMonitorHelper::kPollMilliseconds);
            return false;
        }));
    }

    static SystemMonitorHelper& Monitor() { return *SystemMonitorHelper::GetInstance(); }
    MonitorSession& Context() { return *static_cast<DeviceControlServiceContext*>(session)->FindState<MonitorSession>(); }

    std::unique_ptr<Subscription> Subscribe(const std::wstring& json, void* on = nullptr, bool throwOnFirst = false) {
        void* target = on != nullptr ? on : session;
        const size_t waiting = device.SimulatedEvents().Waiters();
        auto subscription = std::make_unique<Subscription>(
            [this, target](const std::wstring& text, std::function<void(wchar_t*)> callback) {
                return Call(31, text, target, std::move(callback));
            },
            json, throwOnFirst);
        EXPECT_TRUE(WaitFor([&] { return device.SimulatedEvents().Waiters() > waiting || subscription->Ended(); }));
        return subscription;
    }

    // One polling round: the clock moves ten seconds and the thread has polled (or ended).
    void PollRound() {
        auto& clock = device.SimulatedClock();
        const size_t rounds = clock.SleepUntilCalls();
        clock.Advance(10000);  // ten seconds
        EXPECT_TRUE(WaitFor([&] { return clock.SleepUntilCalls() > rounds || !Monitor().MonitorRunning(); }));
    }

    // Waits until `subscription` has `count` messages and is waiting again.
    void ExpectMessages(Subscription& subscription, size_t count) {
        EXPECT_TRUE(WaitFor([&] {
            return subscription.Messages().size() >= count && device.SimulatedEvents().Waiters() >= 1;
        }));
    }

    void* session = nullptr;
};

TEST_F(SystemMonitorTest, LowMemoryIsReportedOncePerCrossingWithTheLoadOfTheRound) {
    Sim::SimulatedMemory(device).SetMemoryLoad(79);
    auto subscription = Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":80}");
    device.SimulatedClock().WaitForSleepers(1);  // the first round saw 79
    EXPECT_TRUE(subscription->Messages().empty());

    Sim::SimulatedMemory(device).SetMemoryLoad(85);
    PollRound();
    ExpectMessages(*subscription, 1);
    Sim::SimulatedMemory(device).SetMemoryLoad(90);
    PollRound();

    EXPECT_EQ(Call(32, L"{\"eventId\":1002}", session), (Answer{Status::kSuccess, L"{\"result\":11}"}));
    EXPECT_EQ(subscription->Finish(), (Answer{Status::kSuccess, L"{\"result\":1}"}));
    EXPECT_EQ(subscription->Messages(), std::vector<std::wstring>{L"{\"eventId\":1002,\"memoryInUse\":85}"});
    EXPECT_TRUE(log->Contains(L"SystemMonitorHelper::RegisterLowMemoryChange eventId 1002\n"));
    EXPECT_TRUE(log->Contains(
        L"SystemMonitorHelper::SendLowMemoryMessage receivedEventString {\"eventId\":1002,\"memoryInUse\":85}\n"));
    EXPECT_FALSE(Context().memoryStopEvent);
    EXPECT_EQ(device.SimulatedEvents().OpenHandles(), 0u);
}

TEST_F(SystemMonitorTest, SecondSubscriptionAnswersAtOnceAndStopCodesTellWhatWasThere) {
    EXPECT_EQ(Call(32, L"{\"eventId\":1001}", session), (Answer{Status::kSuccess, L"{\"result\":12}"}));
    auto subscription = Subscribe(L"{\"eventId\":1002}");
    // The session's lock is not held across the wait: this answers at once.
    EXPECT_EQ(Call(31, L"{\"eventId\":1002}", session), (Answer{Status::kSuccess, L"{\"result\":2}"}));
    EXPECT_EQ(Call(32, L"{\"eventId\":1001}", session), (Answer{Status::kSuccess, L"{\"result\":12}"}));
    EXPECT_EQ(Call(32, L"{\"eventId\":1002}", session), (Answer{Status::kSuccess, L"{\"result\":11}"}));
    EXPECT_EQ(subscription->Finish(), (Answer{Status::kSuccess, L"{\"result\":1}"}));
    EXPECT_EQ(Call(32, L"{\"eventId\":1002}", session), (Answer{Status::kSuccess, L"{\"result\":12}"}));
}

TEST_F(SystemMonitorTest, BadRequestsAreRefusedWithoutWaiting) {
    for (const wchar_t* bad : {L"{}", L"{\"eventId\":\"1002\"}", L"{\"eventId\":1002.5}", L"{\"eventId\":null}", L"[]"}) {
        EXPECT_EQ(Call(31, bad, session), (Answer{Status::kArgumentCheckFailed, L"{}"})) << bad;
        EXPECT_EQ(Call(32, bad, session), (Answer{Status::kArgumentCheckFailed, L"{}"})) << bad;
    }
    EXPECT_EQ(Call(31, L"{\"eventId\":1003}", session), (Answer{Status::kGeneralFailure, L"{}"}));
    EXPECT_EQ(Call(32, L"{\"eventId\":1003}", session), (Answer{Status::kGeneralFailure, L"{}"}));
    // No session to subscribe in.
    EXPECT_EQ(Call(31, L"{\"eventId\":1002}", nullptr), (Answer{Status::kGeneralFailure, L"{}"}));
    EXPECT_EQ(Call(32, L"{\"eventId\":1002}", nullptr), (Answer{Status::kGeneralFailure, L"{}"}));
}

TEST_F(SystemMonitorTest, NegativeThresholdKeepsThePreviousOne) {
    EXPECT_EQ(Call(31, L"{\"eventId\":1003,\"memoryThreshold\":70}", session).status, Status::kGeneralFailure);
    EXPECT_EQ(Context().memoryThreshold.load(), 70);
    EXPECT_EQ(Call(31, L"{\"eventId\":1003,\"memoryThreshold\":-5}", session).status, Status::kGeneralFailure);
    EXPECT_EQ(Call(31, L"{\"eventId\":1003,\"memoryThreshold\":\"90\"}", session).status, Status::kGeneralFailure);
    EXPECT_EQ(Context().memoryThreshold.load(), 70);
}

TEST_F(SystemMonitorTest, BatteryChangesSendTheStatusNameAndCharge) {
    auto& battery = Sim::SimulatedBattery(device);
    battery.Change(IBattery::Discharging, 50);
    auto subscription = Subscribe(L"{\"eventId\":1001}");
    EXPECT_EQ(battery.Registrations(), 2u);
    const std::pair<int32_t, int32_t> changes[] = {
        {IBattery::NotPresent, 50}, {IBattery::Discharging, 50}, {IBattery::Idle, 49}, {IBattery::Charging, 49}};
    for (size_t i = 0; i < std::size(changes); ++i) {
        battery.Change(changes[i].first, changes[i].second);
        ExpectMessages(*subscription, i + 1);
    }
    EXPECT_EQ(Call(32, L"{\"eventId\":1001}", session).text, L"{\"result\":11}");
    EXPECT_EQ(subscription->Finish(), (Answer{Status::kSuccess, L"{\"result\":1}"}));
    EXPECT_EQ(subscription->Messages(),
              (std::vector<std::wstring>{
                  L"{\"eventId\":1001,\"batteryStatus\":\"NotPresent\",\"remainingCharge\":50}",
                  L"{\"eventId\":1001,\"batteryStatus\":\"Discharging\",\"remainingCharge\":50}",
                  L"{\"eventId\":1001,\"batteryStatus\":\"Idle\",\"remainingCharge\":49}",
                  L"{\"eventId\":1001,\"batteryStatus\":\"Charging\",\"remainingCharge\":49}",
              }));
    EXPECT_EQ(battery.Registrations(), 0u);
    EXPECT_EQ(Context().batteryStatusToken, 0);
}

TEST_F(SystemMonitorTest, WithoutAPowerManagerTheBatterySubscriptionFailsCleanly) {
    Sim::SimulatedBattery(device).SetAvailable(false);
    EXPECT_EQ(Call(31, L"{\"eventId\":1001}", session), (Answer{Status::kGeneralFailure, L"{}"}));
    EXPECT_TRUE(log->Contains(L"the power manager is not available, HRESULT 0x80040154"));
    EXPECT_FALSE(Context().batteryStopEvent);
    EXPECT_EQ(device.SimulatedEvents().OpenHandles(), 0u);
    // A failed creation of the events is answered the same way.
    Sim::SimulatedBattery(device).SetAvailable(true);
    device.Faults().FailNext(Sim::SimPort::Events, 5);  // ERROR_ACCESS_DENIED: the name is taken
    EXPECT_EQ(Call(31, L"{\"eventId\":1002}", session), (Answer{Status::kGeneralFailure, L"{}"}));
    EXPECT_TRUE(log->Contains(L"RegisterLowMemoryChange - unable to create event, GetLastError = 5"));
}

TEST_F(SystemMonitorTest, ACallbackThatThrowsDoesNotEndTheSubscription) {
    auto subscription = Subscribe(L"{\"eventId\":1001}", nullptr, /*throwOnFirst=*/true);
    Sim::SimulatedBattery(device).Change(IBattery::Charging, 80);
    ExpectMessages(*subscription, 1);
    Sim::SimulatedBattery(device).Change(IBattery::Idle, 80);
    ExpectMessages(*subscription, 2);
    EXPECT_TRUE(log->Contains(L"SystemMonitorHelper::SendSystemBatteryMessage RPC Callback error client went away\n"));
    Call(32, L"{\"eventId\":1001}", session);
    EXPECT_EQ(subscription->Finish().text, L"{\"result\":1}");
}

TEST_F(SystemMonitorTest, ACancelledCallEndsTheSubscriptionAtTheNextChange) {
    // 1: the client cancelled the call; 2: the client is gone. Any other status goes on.
    for (const uint32_t status : {1u, 2u}) {
        Sim::SimCaller caller;
        caller.inquireStatus = 0;
        caller.callStatus = status;
        device.SetCaller(caller);
        auto subscription = Subscribe(L"{\"eventId\":1001}");
        Sim::SimulatedBattery(device).Change(IBattery::Charging, static_cast<int32_t>(10 * status));  // a change each time
        EXPECT_EQ(subscription->Finish().text, L"{\"result\":1}") << status;
        EXPECT_TRUE(subscription->Messages().empty()) << status;
    }
    Sim::SimCaller caller;
    caller.inquireStatus = 0;
    caller.callStatus = 3;
    device.SetCaller(caller);
    auto subscription = Subscribe(L"{\"eventId\":1001}");
    Sim::SimulatedBattery(device).Change(IBattery::Charging, 30);
    ExpectMessages(*subscription, 1);
    Call(32, L"{\"eventId\":1001}", session);
    EXPECT_EQ(subscription->Finish().text, L"{\"result\":1}");
}

TEST_F(SystemMonitorTest, AnUnreadableChargeIsReportedAsMinusOne) {
    auto subscription = Subscribe(L"{\"eventId\":1001}");
    Sim::SimulatedBattery(device).SetChargeReadable(false);
    Sim::SimulatedBattery(device).Change(IBattery::Discharging, 30);
    ExpectMessages(*subscription, 1);
    Call(32, L"{\"eventId\":1001}", session);
    subscription->Finish();
    EXPECT_EQ(subscription->Messages(),
              std::vector<std::wstring>{L"{\"eventId\":1001,\"batteryStatus\":\"Discharging\",\"remainingCharge\":-1}"});
}

TEST_F(SystemMonitorTest, TheThresholdIsExceededOnlyAboveItAndRoundsAreTenSecondsApart) {
    auto& memory = Sim::SimulatedMemory(device);
    auto& clock = device.SimulatedClock();
    memory.SetMemoryLoad(80);
    auto subscription = Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":80}");
    clock.WaitForSleepers(1);  // the first round saw 80: equal is not above
    memory.SetMemoryLoad(81);
    const size_t rounds = clock.SleepUntilCalls();
    clock.Advance(9999);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(clock.SleepUntilCalls(), rounds) << "a round before ten seconds";
    EXPECT_TRUE(subscription->Messages().empty());
    clock.Advance(1);
    EXPECT_TRUE(WaitFor([&] { return clock.SleepUntilCalls() > rounds; }));
    ExpectMessages(*subscription, 1);
    Call(32, L"{\"eventId\":1002}", session);
    subscription->Finish();
    EXPECT_EQ(subscription->Messages(), std::vector<std::wstring>{L"{\"eventId\":1002,\"memoryInUse\":81}"});

    // The last load reported (81) is not below a threshold of 81: a load above it is not news.
    auto again = Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":81}");
    memory.SetMemoryLoad(95);
    clock.WaitForSleepers(1);  // its first round saw 95
    const size_t before = clock.SleepUntilCalls();
    clock.Advance(10000);
    EXPECT_TRUE(WaitFor([&] { return clock.SleepUntilCalls() > before; }));
    Call(32, L"{\"eventId\":1002}", session);
    again->Finish();
    EXPECT_TRUE(again->Messages().empty());
}

TEST_F(SystemMonitorTest, AThresholdOfZeroReportsAnyLoad) {
    Sim::SimulatedMemory(device).SetMemoryLoad(1);
    auto subscription = Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":0}");
    ExpectMessages(*subscription, 1);
    Call(32, L"{\"eventId\":1002}", session);
    subscription->Finish();
    EXPECT_EQ(subscription->Messages(), std::vector<std::wstring>{L"{\"eventId\":1002,\"memoryInUse\":1}"});
}

TEST_F(SystemMonitorTest, SessionsShareOnePollingThreadThatEndsWithTheLastListener) {
    const size_t started = Monitor().MonitorThreadsStarted();
    std::vector<void*> sessions(3, nullptr);
    std::vector<std::unique_ptr<Subscription>> subscriptions;
    Sim::SimulatedMemory(device).SetMemoryLoad(95);
    for (void*& other : sessions) {
        service->StartSession(nullptr, &other);
        subscriptions.push_back(Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":90}", other));
    }
    EXPECT_EQ(Monitor().LowMemoryClients(), 3u);
    PollRound();
    for (auto& subscription : subscriptions) ExpectMessages(*subscription, 1);
    EXPECT_EQ(Monitor().MonitorThreadsStarted(), started + 1);

    for (void*& other : sessions) EXPECT_EQ(Call(32, L"{\"eventId\":1002}", other).text, L"{\"result\":11}");
    for (auto& subscription : subscriptions) EXPECT_EQ(subscription->Finish().text, L"{\"result\":1}");
    PollRound();
    EXPECT_FALSE(Monitor().MonitorRunning());

    // The next listener gets a new thread.
    auto again = Subscribe(L"{\"eventId\":1002}", sessions[0]);
    EXPECT_EQ(Monitor().MonitorThreadsStarted(), started + 2);
    Call(32, L"{\"eventId\":1002}", sessions[0]);
    again->Finish();
    for (void*& other : sessions) service->EndSession(&other);
}

TEST_F(SystemMonitorTest, EndingTheSessionEndsASubscriptionStillRunning) {
    void* other = nullptr;
    service->StartSession(nullptr, &other);
    auto subscription = Subscribe(L"{\"eventId\":1001}", other);
    service->EndSession(&other);
    EXPECT_EQ(subscription->Finish().text, L"{\"result\":1}");
    EXPECT_EQ(Sim::SimulatedBattery(device).Registrations(), 0u);
    EXPECT_TRUE(log->Contains(L"ending a subscription still running"));
}

TEST_F(SystemMonitorTest, TheLastServiceGoneLeavesNoThreadOfTheModule) {
    // A host stops the service with a subscription still holding its thread in 31: the
    // subscription ends, and the polling thread is stopped and joined, not left asleep.
    Sim::SimulatedMemory(device).SetMemoryLoad(50);
    // The host's thread keeps the object's address; its answer is released as slot 4 does it.
    DeviceControlService* host = service.get();
    const size_t waiting = device.SimulatedEvents().Waiters();
    auto subscription = std::make_unique<Subscription>(
        [this, host](const std::wstring& text, std::function<void(wchar_t*)> callback) {
            std::wstring input = text;
            wchar_t* output = nullptr;
            Answer answer{host->ExecuteCommand(session, 31, input.data(), &output, std::move(callback), nullptr),
                          std::nullopt};
            if (output != nullptr) answer.text = std::wstring(output);
            std::free(output);
            return answer;
        },
        L"{\"eventId\":1002,\"memoryThreshold\":90}");
    ASSERT_TRUE(WaitFor([&] { return device.SimulatedEvents().Waiters() > waiting; }));
    device.SimulatedClock().WaitForSleepers(1);
    ASSERT_TRUE(Monitor().MonitorRunning());
    service.reset();
    EXPECT_EQ(subscription->Finish(), (Answer{Status::kSuccess, L"{\"result\":1}"}));
    EXPECT_FALSE(Monitor().MonitorRunning());
    EXPECT_EQ(device.SimulatedClock().Sleepers(), 0u);
    EXPECT_TRUE(log->Contains(L"DeviceControlService::~DeviceControlService - ending a subscription still running"));

    // A new service polls again.
    service = std::make_unique<DeviceControlService>(device);
    const size_t started = Monitor().MonitorThreadsStarted();
    auto again = Subscribe(L"{\"eventId\":1002,\"memoryThreshold\":40}");
    ExpectMessages(*again, 1);
    EXPECT_EQ(Monitor().MonitorThreadsStarted(), started + 1);
    Call(32, L"{\"eventId\":1002}", session);
    EXPECT_EQ(again->Finish().text, L"{\"result\":1}");
}

TEST_F(SystemMonitorTest, SubscriptionsFromSeveralThreadsAtOnce) {
    constexpr int kHosts = 4;
    constexpr int kRounds = 5;
    std::atomic<bool> done{false};
    std::thread poller([&] {
        while (!done.load()) {
            device.SimulatedClock().Advance(SystemMonitorHelper::kPollMilliseconds);
            Sim::SimulatedBattery(device).Change(IBattery::Charging, static_cast<int32_t>(std::rand() % 100));
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    std::vector<std::thread> hosts;
    std::atomic<int> wrong{0};
    for (int h = 0; h < kHosts; ++h) {
        hosts.emplace_back([&, h] {
            for (int round = 0; round < kRounds; ++round) {
                void* own = nullptr;
                service->StartSession(nullptr, &own);
                const std::wstring event = (h + round) % 2 == 0 ? L"1001" : L"1002";
                std::optional<Answer> answer;
                std::thread subscriber([&] { answer = Call(31, L"{\"eventId\":" + event + L",\"memoryThreshold\":0}", own); });
                // Until it is listening, a stop finds nothing; then it finds the subscription.
                // Bounded: if 32 never finds it, ending the session stops it, so the join returns.
                Answer stop;
                const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
                do {
                    stop = Call(32, L"{\"eventId\":" + event + L"}", own);
                } while (stop.text == L"{\"result\":12}" && std::chrono::steady_clock::now() < deadline);
                if (stop.text != L"{\"result\":11}") {
                    ++wrong;
                    service->EndSession(&own);
                    subscriber.join();
                    continue;
                }
                subscriber.join();
                if (!answer || answer->text != L"{\"result\":1}") ++wrong;
                service->EndSession(&own);
            }
        });
    }
    for (auto& host : hosts) host.join();
    done = true;
    poller.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(Sim::SimulatedBattery(device).Registrations(), 0u);
}

}  // namespace
}  // namespace Qv::Tests
