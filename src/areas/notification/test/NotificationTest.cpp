// Toasts through the device control tool in the user's session.
#include "core/status.h"
#include "areas/notification/NotificationHelper.h"
#include "areas/notification/sim/SimNotification.h"
#include "shared/user/UserSession.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

class NotificationTest : public ServiceFixture {
protected:
    NotificationTest() { device.InstallTool(TrustedTestKey()); }
};

TEST_F(NotificationTest, SetAndReadBackThroughTheTool) {
    EXPECT_EQ(Call(121), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(122, L"{\"BValue\":false}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_FALSE(device.Tool().Area<Sim::SimToasts>().toastEnabled);
    EXPECT_EQ(Call(121).text, L"{\"result\":false}");
    EXPECT_EQ(device.CommandLines().at(1),
              L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Notification SetToastOnOff \"0\"");
    EXPECT_EQ(device.CommandLines().at(0),
              L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Notification GetToastOnOff \"\"");
}

TEST_F(NotificationTest, MinusOneReadsAsOnAndAToolThatDoesNotRunAsOff) {
    device.Tool().Area<Sim::SimToasts>().toastEnabled = false;
    device.Tool().replies[L"GetToastOnOff"] = "-1\r\n";
    EXPECT_EQ(Call(121).text, L"{\"result\":true}");
    device.Tool().failsToStart = true;
    EXPECT_EQ(Call(121).text, L"{\"result\":false}");
    EXPECT_EQ(Call(122, L"{\"BValue\":true}").text, L"{\"result\":false}");
}

TEST_F(NotificationTest, BValueMustBeABoolean) {
    for (const wchar_t* bad : {L"{}", L"{\"BValue\":null}", L"{\"BValue\":1}", L"{\"BValue\":\"true\"}"})
        EXPECT_EQ(Call(122, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << bad;
    EXPECT_TRUE(device.CommandLines().empty());
}

TEST_F(NotificationTest, AChangeMustHoldWhenReadBack) {
    device.Tool().Area<Sim::SimToasts>().policyLocked = true;  // a policy keeps toasts on
    // The tool reads back and answers 0: the change failed, and the answer says so.
    std::wstring reply;
    ASSERT_TRUE(Bridge::Server::Services::DeviceControl::UserSession(device).RunAsUserAndCapture(
        L"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe",
        L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Notification SetToastOnOff \"0\"", reply));
    EXPECT_EQ(reply, L"0");
    EXPECT_EQ(Call(122, L"{\"BValue\":false}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(121).text, L"{\"result\":true}");
}

}  // namespace
}  // namespace Qv::Tests
