// What a session keeps for its status events: made when the session starts, closed and
// unregistered when it ends.
#include <regex>
#include <set>

#include "areas/monitor/MonitorSession.h"
#include "areas/monitor/sim/SimBattery.h"
#include "core/strings.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class MonitorSessionTest : public ServiceFixture {};

TEST_F(MonitorSessionTest, StartSessionMakesFourFreshPrefixedEventNames) {
    std::wstring client = L"LumenCenter";
    void* handle = nullptr;
    ASSERT_EQ(service->StartSession(client.data(), &handle), 0);
    ASSERT_NE(handle, nullptr);
    auto* session = static_cast<DeviceControlServiceContext*>(handle);
    MonitorSession* context = session->FindState<MonitorSession>();
    ASSERT_NE(context, nullptr);

    const std::wregex uuid(L"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");
    const std::pair<std::wstring, const wchar_t*> names[] = {
        {context->batteryEventNames[0], L"qvbl_"},
        {context->batteryEventNames[1], L"qvbtc_"},
        {context->memoryEventNames[0], L"qvml_"},
        {context->memoryEventNames[1], L"qvmtc_"},
    };
    std::set<std::wstring> uuids;
    for (const auto& [name, prefix] : names) {
        ASSERT_EQ(name.rfind(prefix, 0), 0u) << Core::Narrow(name);
        const std::wstring id = name.substr(wcslen(prefix));
        EXPECT_TRUE(std::regex_match(id, uuid)) << Core::Narrow(name);
        uuids.insert(id);
    }
    EXPECT_EQ(uuids.size(), 4u);
    EXPECT_STREQ(session->clientId, L"LumenCenter");
    EXPECT_EQ(context->memoryThreshold, 80);
    EXPECT_EQ(context->lastMemoryLoad, -1);
    EXPECT_FALSE(context->batteryStopEvent);
    EXPECT_EQ(context->batteryStatusToken, 0);
    EXPECT_TRUE(log->Contains(L"DeviceControlService::StartSession clientId: LumenCenter"));

    // A second session gets names of its own.
    void* other = nullptr;
    service->StartSession(client.data(), &other);
    EXPECT_NE(static_cast<DeviceControlServiceContext*>(other)->FindState<MonitorSession>()->batteryEventNames[0],
              context->batteryEventNames[0]);
    service->EndSession(&other);
    service->EndSession(&handle);
}

TEST_F(MonitorSessionTest, EndSessionClosesOpenEventHandlesAndRemovesBatteryRegistrations) {
    void* handle = nullptr;
    service->StartSession(nullptr, &handle);
    MonitorSession* context = static_cast<DeviceControlServiceContext*>(handle)->FindState<MonitorSession>();
    auto& events = device.Events();
    context->batteryChangeEvent = platform::OwnedEvent(events, *events.CreateManualReset(context->batteryEventNames[1]));
    context->memoryChangeEvent = platform::OwnedEvent(events, *events.CreateManualReset(context->memoryEventNames[1]));
    const std::vector<platform::EventHandle> open{context->batteryChangeEvent.get(), context->memoryChangeEvent.get()};
    auto& battery = Sim::SimulatedBattery(device);
    context->batteryStatusToken = *battery.AddBatteryStatusChanged([] {});
    context->remainingChargeToken = *battery.AddRemainingChargeChanged([] {});

    service->EndSession(&handle);
    EXPECT_EQ(device.ClosedEvents(), open);
    EXPECT_EQ(device.SimulatedEvents().OpenHandles(), 0u);
    EXPECT_EQ(battery.Registrations(), 0u);
}

}  // namespace
}  // namespace Qv::Tests
