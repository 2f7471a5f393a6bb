// Sessions, notifications and the interface's simple slots.
#include <regex>
#include <set>

#include "unit/ServiceFixture.h"
#include "core/strings.h"
#include "platform/platform.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class SessionTest : public ServiceFixture {};

TEST_F(SessionTest, StartSessionMakesFourFreshPrefixedEventNames) {
    std::wstring client = L"LumenCenter";
    void* handle = nullptr;
    ASSERT_EQ(service->StartSession(client.data(), &handle), 0);
    ASSERT_NE(handle, nullptr);
    auto* context = static_cast<DeviceControlServiceContext*>(handle);

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
    EXPECT_STREQ(context->clientId, L"LumenCenter");
    EXPECT_EQ(context->memoryThreshold, 80);
    EXPECT_EQ(context->lastMemoryLoad, -1);
    EXPECT_EQ(context->batteryStopEvent, nullptr);
    EXPECT_EQ(context->batteryStatusToken, 0);
    EXPECT_TRUE(log->Contains(L"DeviceControlService::StartSession clientId: LumenCenter"));

    // A second session gets names of its own.
    void* other = nullptr;
    service->StartSession(client.data(), &other);
    EXPECT_NE(static_cast<DeviceControlServiceContext*>(other)->batteryEventNames[0], context->batteryEventNames[0]);
    service->EndSession(&other);
    service->EndSession(&handle);
}

TEST_F(SessionTest, ClientIdIsCutAt64AndNullBecomesEmpty) {
    std::wstring longId(100, L'c');
    longId[63] = L'Z';
    void* handle = nullptr;
    service->StartSession(longId.data(), &handle);
    EXPECT_EQ(std::wstring(static_cast<DeviceControlServiceContext*>(handle)->clientId), std::wstring(63, L'c') + L"Z");
    service->EndSession(&handle);

    service->StartSession(nullptr, &handle);
    EXPECT_STREQ(static_cast<DeviceControlServiceContext*>(handle)->clientId, L"");
    service->EndSession(&handle);
}

TEST_F(SessionTest, NullPlacesAreLoggedAndSucceed) {
    std::wstring client = L"x";
    EXPECT_EQ(service->StartSession(client.data(), nullptr), 0);
    EXPECT_EQ(device.UuidsIssued(), 0u);  // nothing was made
    EXPECT_TRUE(log->Contains(L"DeviceControlService::StartSession clientId: x"));

    void* none = nullptr;
    EXPECT_EQ(service->EndSession(nullptr), 0);
    EXPECT_EQ(service->EndSession(&none), 0);
    EXPECT_EQ(log->Count(LogLevel::Info, L"DeviceControlService::EndSession"), 2u);
}

TEST_F(SessionTest, EndSessionClosesOpenEventHandlesAndRemovesBatteryRegistrations) {
    void* handle = nullptr;
    service->StartSession(nullptr, &handle);
    auto* context = static_cast<DeviceControlServiceContext*>(handle);
    auto& events = device.Events();
    context->batteryChangeEvent = *events.CreateManualReset(context->batteryEventNames[1]);
    context->memoryChangeEvent = *events.CreateManualReset(context->memoryEventNames[1]);
    const std::vector<platform::EventHandle> open{context->batteryChangeEvent, context->memoryChangeEvent};
    auto& battery = device.SimulatedBattery();
    context->batteryStatusToken = *battery.AddBatteryStatusChanged([] {});
    context->remainingChargeToken = *battery.AddRemainingChargeChanged([] {});

    service->EndSession(&handle);
    EXPECT_EQ(device.ClosedEvents(), open);
    EXPECT_EQ(device.SimulatedEvents().OpenHandles(), 0u);
    EXPECT_EQ(battery.Registrations(), 0u);
}

TEST_F(SessionTest, OnlyLogonAndUnlockAreHandled) {
    service->session_change_task(kWtsSessionLock, nullptr);
    service->session_change_task(1, nullptr);
    EXPECT_TRUE(log->Records().empty());

    service->session_change_task(kWtsSessionLogon, nullptr);
    service->session_change_task(kWtsSessionUnlock, reinterpret_cast<void*>(0x1234));
    EXPECT_TRUE(log->Contains(L"DeviceControlService::sesion_change_task - WTS_SESSION_LOGON received."));
    EXPECT_TRUE(log->Contains(L"DeviceControlService::sesion_change_task - WTS_SESSION_UNLOCK received."));
}

TEST_F(SessionTest, SimpleSlotsBehaveAsTheBase) {
    service->ReleaseOutput(nullptr);
    service->ReservedHook6();
    service->ReservedHook7();
    service->ReservedHook10();
    EXPECT_FALSE(service->OobeReceived());
    EXPECT_TRUE(service->oobe_event_task());
    EXPECT_TRUE(service->oobe_event_task());
    EXPECT_TRUE(service->OobeReceived());
    EXPECT_TRUE(log->Records().empty());
}

}  // namespace
}  // namespace Qv::Tests
