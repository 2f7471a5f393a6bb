// Sessions, notifications and the interface's simple slots.
#include "unit/ServiceFixture.h"
#include "core/strings.h"
#include "platform/platform.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class SessionTest : public ServiceFixture {};

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

TEST_F(SessionTest, SimpleSlotsBehaveAsTheBase) {
    service->ReleaseOutput(nullptr);
    service->ReservedHook6();
    service->ReservedHook7();
    service->ReservedHook10();
    EXPECT_TRUE(service->oobe_event_task());
    EXPECT_TRUE(service->oobe_event_task());
    EXPECT_TRUE(log->Records().empty());
}

}  // namespace
}  // namespace Qv::Tests
