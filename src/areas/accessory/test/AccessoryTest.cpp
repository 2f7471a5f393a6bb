// Mouse commands end to end on the simulated device: dispatcher, argument checks, the tool
// runner's trust check and command line, the user's session, and the tool's reply.
#include "unit/ServiceFixture.h"
#include "core/status.h"
#include "areas/accessory/AccessoryHelper.h"
#include "areas/accessory/sim/SimAccessory.h"
#include "shared/tool/ToolRunner.h"
#include "security/Authenticode.h"
#include "security/TrustMaterial.h"
#include "platform/UserPaths.h"
#include "shared/user/UserSession.h"

namespace Qv::Tests {

namespace {

using namespace Bridge::Server::Services::DeviceControl;

const std::wstring kTool = L"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe";

class AccessoryTest : public ServiceFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(Bridge::Security::TrustMaterial::kIncludesTestKey) << "unit tests need the test build's key";
        device.InstallTool(TrustedTestKey());
    }

    std::wstring Line(const wchar_t* function, const wchar_t* argument) {
        return L"\"" + kTool + L"\" Accessory " + function + L" \"" + argument + L"\"";
    }
};

TEST_F(AccessoryTest, MouseRoundTripThroughTheTool) {
    EXPECT_EQ(Call(91).text, L"{\"result\":10}");
    EXPECT_EQ(Call(92, L"{\"IValue\":15}").text, L"{\"result\":true}");
    EXPECT_EQ(Call(91).text, L"{\"result\":15}");
    EXPECT_EQ(device.Tool().Area<Sim::SimMouse>().mouseSpeed, 15);

    EXPECT_FALSE(AccessoryHelper::GetInstance()->IsMouseSwapped());
    EXPECT_EQ(Call(93).text, L"{\"result\":true}");
    EXPECT_TRUE(AccessoryHelper::GetInstance()->IsMouseSwapped());
    EXPECT_TRUE(AccessoryHelper::GetInstance()->SetMouseLeftHanded(false));
    EXPECT_FALSE(device.Tool().Area<Sim::SimMouse>().buttonsSwapped);

    EXPECT_EQ(device.CommandLines(),
              (std::vector<std::wstring>{Line(L"GetMouseSpeed", L""), Line(L"SetMouseSpeed", L"15"),
                                         Line(L"GetMouseSpeed", L""), Line(L"GetMouseSwapStatus", L""),
                                         Line(L"SwapMouseButton", L""), Line(L"GetMouseSwapStatus", L""),
                                         Line(L"SetMouseLeftHanded", L"0")}));
    EXPECT_EQ(device.PinnedFiles(), 0);  // the tool is released after each run
    EXPECT_FALSE(device.Impersonating());
}

TEST_F(AccessoryTest, SpeedArgumentIsCheckedBeforeAnythingRuns) {
    for (const wchar_t* bad : {L"{\"IValue\":0}", L"{\"IValue\":21}", L"{\"IValue\":-5}", L"{}", L"{\"IValue\":null}",
                               L"{\"IValue\":\"15\"}", L"{\"IValue\":15.5}", L"{\"IValue\":4294967297}", L"[15]"}) {
        const Answer answer = Call(92, bad);
        EXPECT_EQ(answer.status, Status::kArgumentCheckFailed) << bad;
        EXPECT_EQ(answer.text, L"{}") << bad;
    }
    EXPECT_TRUE(device.CommandLines().empty());

    EXPECT_EQ(Call(92, L"{\"IValue\":1}").text, L"{\"result\":true}");
    EXPECT_EQ(Call(92, L"{\"IValue\":20}").text, L"{\"result\":true}");
    EXPECT_EQ(device.CommandLines(),
              (std::vector<std::wstring>{Line(L"SetMouseSpeed", L"1"), Line(L"SetMouseSpeed", L"20")}));
    // The typed operation passes negative numbers on as written; the tool refuses them.
    EXPECT_FALSE(AccessoryHelper::GetInstance()->SetMouseSpeed(-3));
    EXPECT_EQ(device.CommandLines().back(), Line(L"SetMouseSpeed", L"-3"));
}

TEST_F(AccessoryTest, RepliesAreReadAsTheirFirstLine) {
    auto& replies = device.Tool().replies;
    replies[L"GetMouseSpeed"] = "-1\r\n";
    replies[L"SetMouseSpeed"] = "-1\r\n";
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(92, L"{\"IValue\":5}"), (Answer{0, L"{\"result\":false}"}));

    replies[L"GetMouseSpeed"] = "12\r\nmore text\r\n";
    EXPECT_EQ(Call(91).text, L"{\"result\":12}");
    replies[L"GetMouseSpeed"] = "  7 apples";  // std::stoi: leading blanks, trailing text ignored
    EXPECT_EQ(Call(91).text, L"{\"result\":7}");
    replies[L"GetMouseSpeed"] = "abc";
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    replies[L"GetMouseSpeed"] = "99999999999";
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    replies[L"GetMouseSwapStatus"] = "abc";
    EXPECT_FALSE(AccessoryHelper::GetInstance()->IsMouseSwapped());
    replies.erase(L"SetMouseSpeed");
    device.Tool().Area<Sim::SimMouse>().speedLocked = true;  // taken, not kept: the tool reads back
    EXPECT_EQ(Call(92, L"{\"IValue\":6}").text, L"{\"result\":false}");
    device.Tool().Area<Sim::SimMouse>().speedLocked = false;
    replies[L"SetMouseSpeed"] = "0\r\n";
    EXPECT_EQ(Call(92, L"{\"IValue\":5}").text, L"{\"result\":false}");

    std::wstring output;
    replies[L"GetMouseSpeed"] = std::string(2000, 'x');
    UserSession user(device);
    ASSERT_TRUE(user.RunAsUserAndCapture(kTool, Line(L"GetMouseSpeed", L""), output));
    EXPECT_EQ(output.size(), 511u);

    // The tool knows its functions: a word it does not know is refused, scripted or not.
    replies[L"Echo"] = "1\r\n";
    ASSERT_TRUE(user.RunAsUserAndCapture(kTool, L"\"" + kTool + L"\" Accessory Echo \"\"", output));
    EXPECT_EQ(output, L"-1");
    EXPECT_EQ(device.Tool().refused.Items(), std::vector<std::wstring>{L"Accessory Echo "});
}

TEST_F(AccessoryTest, UntrustedOrMissingToolIsNeverStarted) {
    device.InstallTool({0x30, 0x03, 0x02, 0x01, 0x01});  // signed, but with a key no table lists
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(92, L"{\"IValue\":15}").text, L"{\"result\":false}");
    EXPECT_EQ(Call(93).text, L"{\"result\":false}");
    EXPECT_TRUE(log->Contains(L"trusted by windows = true, trusted by Fusion = false"));

    device.InstallTool(TrustedTestKey(), static_cast<int32_t>(0x800B0100));  // the system finds no valid signature
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");

    device.InstallTool(TrustedTestKey());
    device.SetModulePath(L"C:\\Users\\Avery\\Downloads\\DeviceControlService.dll");
    device.InstallTool(TrustedTestKey());  // beside the module, but in a folder the user can write
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    device.RemoveFile(L"C:\\Users\\Avery\\Downloads\\DeviceControlTool.exe");
    EXPECT_EQ(Call(91).text, L"{\"result\":10}");  // not beside the module: the fallback folder's tool runs
    device.RemoveFile(kTool);
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    EXPECT_TRUE(log->Contains(L"ToolRunner.Run - Windows API CreateFileW error, GetLastError = 2"));
    EXPECT_EQ(device.CommandLines().size(), 1u);
}

TEST_F(AccessoryTest, NoUserAtTheConsoleMeansNoRun) {
    device.SetSignedIn(false);
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(93).text, L"{\"result\":false}");
    EXPECT_TRUE(log->Contains(L"Problem while detecting active console session ID."));
    EXPECT_TRUE(device.CommandLines().empty());
    EXPECT_FALSE(service->ImpersonateUser());
    EXPECT_TRUE(log->Contains(L"DeviceControlService::ImpersonateUser ImpersonateLoggedOnUser failed"));

    device.Tool().failsToStart = true;
    device.SetSignedIn(true);
    EXPECT_EQ(Call(91).text, L"{\"result\":-1}");
    EXPECT_TRUE(service->ImpersonateUser());
}

TEST_F(AccessoryTest, UserSessionKindsAndPaths) {
    UserSession user(device);
    EXPECT_TRUE(user.IsRealUserSession());
    EXPECT_EQ(user.ExpandForUser(L"%userprofile%\\Documents\\..\\x.txt"), L"C:\\Users\\Avery\\x.txt");
    EXPECT_FALSE(device.Impersonating());
    for (const wchar_t* profile : {L"C:\\Users\\defaultuser0", L"C:\\Users\\Default",
                                   L"C:\\Windows\\system32\\config\\systemprofile"}) {
        device.SetUserEnvironment(L"USERPROFILE", profile);
        EXPECT_FALSE(user.IsRealUserSession()) << profile;
    }
    // A user whose name only begins with "Default" is a real one.
    device.SetUserEnvironment(L"USERPROFILE", L"C:\\Users\\DefaultsFan");
    EXPECT_TRUE(user.IsRealUserSession());
    platform::UserPaths paths(device);
    EXPECT_EQ(paths.GeneralForm(L"%windir%\\..\\Users\\x.dll"), L"C:\\Users\\x.dll");
    EXPECT_TRUE(log->Contains(L"ExpandEnvironmentStrings: [%windir%\\..\\Users\\x.dll] [C:\\Windows\\..\\Users\\x.dll]"));
    EXPECT_TRUE(log->Contains(L"GetFullPathName: [C:\\Users\\x.dll]"));
    EXPECT_EQ(paths.GeneralForm(L"%ProgramData%\\x", reinterpret_cast<platform::UserToken>(0x44)), L"C:\\ProgramData\\x");
    EXPECT_EQ(paths.GeneralForm(nullptr), L"");
    EXPECT_EQ(paths.GeneralForm(L"%ProgramData%\\x", reinterpret_cast<platform::UserToken>(~uintptr_t{0})), L"");
    EXPECT_TRUE(log->Contains(L"process_handle is NULL or INVALID_HANDLE_VALUE"));
    EXPECT_EQ(log->Count(LogLevel::Warning, L"filePath cannot be null"), 1u);
    EXPECT_EQ(paths.GeneralForm(L""), L"");
    EXPECT_TRUE(log->Contains(L"UserPaths.GeneralForm failed on function GetFullPathNameW with result 123"));

    // Only a package the user has can be started. The store answers for the thread's user, so the
    // lookup runs as the user: a package only the service's account has is not the user's.
    EXPECT_FALSE(user.StartPackagedApplication(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3", L"LumenCenter.exe"));
    device.SimulatedPackages().Install(
        Sim::SimStorePackages::Package(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3", L"0.9.0.0"), {L"S-1-5-18"});
    EXPECT_FALSE(user.StartPackagedApplication(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3", L"LumenCenter.exe"));
    device.SimulatedPackages().Install(
        Sim::SimStorePackages::Package(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3", L"1.0.0.0"),
        {L"S-1-5-21-2079104543-3203125434-1873629513-1001"});
    EXPECT_TRUE(user.StartPackagedApplication(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3", L"LumenCenter.exe"));
    EXPECT_EQ(device.StartedPackages(),
              std::vector<std::wstring>{
                  L"C:\\Program Files\\WindowsApps\\5E0C2A91.LumenCenter_1.0.0.0_x64__k4m2x9trq7bw3\\LumenCenter.exe"});
    EXPECT_FALSE(device.Impersonating());
    // Asked as the service, the store has only the service's own package.
    EXPECT_EQ(*device.Processes().PackageFolder(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3"),
              L"C:\\Program Files\\WindowsApps\\5E0C2A91.LumenCenter_0.9.0.0_x64__k4m2x9trq7bw3");
}

}  // namespace
}  // namespace Qv::Tests
