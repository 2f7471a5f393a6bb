// Display commands end to end on the simulated laptop: brightness through its WMI, HDR and the
// display modes through the tool, and the display-control library, loaded once, verified, and
// called by export name.
#include <algorithm>

#include "areas/display/ColourPresets.h"
#include "areas/display/DisplayHelper.h"
#include "areas/display/sim/SimDisplay.h"
#include "core/status.h"
#include "security/Authenticode.h"
#include "platform/sim/SimWorld.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;
using Version = platform::IDisplayControl::FileVersion;

constexpr wchar_t kLibrary[] = L"C:\\Program Files\\DeviceControl\\QVDC.dll";

class DisplayTest : public ServiceFixture {
protected:
    DisplayTest() {
        device.InstallTool(TrustedTestKey());
        device.InstallSigned(L"QVDC.dll", TrustedTestKey());
    }
    Sim::SimDisplayControl& Display() { return Sim::SimulatedDisplay(device); }
    Sim::SimPanel& Panel() { return Display().Panel(); }
    template <class Body>
    void Tool(Body body) {
        device.WithWorld([&](Sim::SimWorld& world) { body(world.tool.Area<Sim::SimDisplayTool>()); });
    }
    void InstallVersion(uint16_t major) {
        Version version;
        version.state = Version::State::Read;
        version.major = major;
        Display().SetFileVersion(L"C:\\Program Files\\Portrait Displays\\QV Display Control Service\\DisplayControlService.exe",
                                 version);
    }
    // The library calls made since the last look.
    std::vector<std::string> NewCalls() {
        auto calls = Display().Calls();
        std::vector<std::string> fresh(calls.begin() + static_cast<long>(std::min(seen_, calls.size())), calls.end());
        seen_ = calls.size();
        return fresh;
    }

    // The library stays out: not ready, not even loaded for 70 and 77, and the line logged once.
    void ExpectLeftOut(const wchar_t* line, size_t loads) {
        EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
        EXPECT_EQ(Call(70), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
        EXPECT_EQ(Call(78, L"{\"IValue\":60}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
        EXPECT_EQ(Call(69), (Answer{Status::kSuccess, L"{\"result\":[]}"}));
        EXPECT_EQ(Call(72), (Answer{Status::kSuccess, L"{\"result\":{}}"}));
        EXPECT_EQ(log->Count(LogLevel::Error, line), 1u) << line;
        EXPECT_EQ(Display().LoadedPaths().size(), loads);
        EXPECT_TRUE(Display().Calls().empty());
        EXPECT_EQ(Panel().contrast, 50);
    }

private:
    size_t seen_ = 0;
};

using Calls = std::vector<std::string>;

TEST_F(DisplayTest, TheLibraryIsVerifiedLoadedCheckedAndStartedOnce) {
    EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":50}"}));
    EXPECT_EQ(Display().LoadedPaths(), std::vector<std::wstring>{kLibrary});
    EXPECT_EQ(NewCalls(), (Calls{"IsPlatformSupported()", "Start()", "GetContrast()"}));
    EXPECT_EQ(Call(70), (Answer{Status::kSuccess, L"{\"result\":15}"}));
    EXPECT_EQ(Display().LoadedPaths().size(), 1u);
    // The last service gone: "Stop" with 1, and the library is let go.
    service.reset();
    EXPECT_EQ(NewCalls(), (Calls{"GetInputSource()", "Stop(1)"}));
    EXPECT_EQ(Display().LoadedLibraries(), 0);
}

TEST_F(DisplayTest, WithoutTheVendorsServiceNothingIsLoaded) {
    Display().SetFileVersion(Sim::kSimDisplayServicePath, Version{});
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDCINSTALLPATH was empty", 0);
}

TEST_F(DisplayTest, AnUnreadableVersionIsNotTrusted) {
    Version unreadable;
    unreadable.state = Version::State::Unreadable;
    Display().SetFileVersion(Sim::kSimDisplayServicePath, unreadable);
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC Unable to GetFileVersionInfo", 0);
}

TEST_F(DisplayTest, VersionFourIsOutOfDateAndFiveIsNot) {
    InstallVersion(4);
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC version out of date", 0);
    DisplayHelper::Release();
    InstallVersion(5);
    EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":50}"}));
}

TEST_F(DisplayTest, AnUnsignedOrForeignLibraryIsNeverLoaded) {
    device.SetSignatures(kLibrary, {});
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!", 0);
    DisplayHelper::Release();
    log->Clear();
    device.SetSignatures(kLibrary, {{{0x30, 0x59, 0x30, 0x13, 0x06}, 0, L"CN=Someone Else", L"CN=Other CA"}});
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!", 0);
    DisplayHelper::Release();
    log->Clear();
    device.RemoveFile(kLibrary);
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!", 0);
}

// The maker's other programs are signed with keys of a wider table; the library must carry a key
// of the main table, and lie in a folder only administrators can write.
TEST_F(DisplayTest, OnlyAMainTableKeyInAProtectedFolderLoadsTheLibrary) {
    const auto& tables = Bridge::Security::TrustTables::Builtin();
    std::vector<uint8_t> toolsKey;
    for (const auto& signer : tables.extended)
        if (std::none_of(tables.main.begin(), tables.main.end(),
                         [&](const auto& main) { return main.publicKey == signer.publicKey; }))
            toolsKey = Bridge::Security::ParsePublicKey(signer.publicKey);
    ASSERT_FALSE(toolsKey.empty()) << "the test build has a key that only the extended tables list";
    device.InstallSigned(L"QVDC.dll", toolsKey);
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!", 0);
    // The same key signs the tool: that one it may run.
    device.InstallTool(toolsKey);
    EXPECT_EQ(Call(91).text, L"{\"result\":10}");

    DisplayHelper::Release();
    log->Clear();
    device.SetModulePath(L"C:\\Users\\Avery\\DeviceControl\\DeviceControlService.dll");
    device.InstallSigned(L"QVDC.dll", TrustedTestKey());
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not signed by QV!", 0);
}

// The loader maps another file than the one verified (a copy of that name loaded already, a
// redirection): the module lets it go and calls nothing of it.
TEST_F(DisplayTest, ALibraryMappedFromAnotherFileIsLetGo) {
    Display().RedirectLoad(kLibrary, L"C:\\Users\\Avery\\AppData\\QVDC.dll");
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library loaded from C:\\Users\\Avery\\AppData\\QVDC.dll, not from "
                  L"the file that was verified",
                  1);
    EXPECT_EQ(Display().LoadedLibraries(), 0);
}

// The last service goes while a command still holds the helper: the command finishes on it, and
// the library is stopped and unloaded when that command lets go.
TEST_F(DisplayTest, AHelperInUseOutlivesTheLastService) {
    std::shared_ptr<DisplayHelper> held = DisplayHelper::GetInstance();
    DisplayHelper::Release();
    EXPECT_EQ(Display().LoadedLibraries(), 1);
    EXPECT_EQ(held->GetContrast(), 50);
    EXPECT_NE(DisplayHelper::GetInstance(), held) << "a later use makes a helper of its own";
    DisplayHelper::Release();
    EXPECT_EQ(Display().LoadedLibraries(), 1);
    const auto before = Display().Calls();
    const size_t stops = static_cast<size_t>(std::count(before.begin(), before.end(), "Stop(1)"));
    held.reset();
    EXPECT_EQ(Display().LoadedLibraries(), 0);
    const auto calls = Display().Calls();
    EXPECT_EQ(static_cast<size_t>(std::count(calls.begin(), calls.end(), "Stop(1)")), stops + 1);
}

TEST_F(DisplayTest, ALibraryThatDoesNotLoadIsNotFound) {
    Display().SetLoadable(false);
    ExpectLeftOut(L"DisplayHelper::InitQVDC: QVDC library not found!", 1);
}

TEST_F(DisplayTest, ALibraryPathThatIsNotCanonicalIsRefused) {
    device.SetModulePath(L"C:\\Program Files\\DeviceControl\\..\\DeviceControl\\DeviceControlService.dll");
    device.InstallSigned(L"QVDC.dll", TrustedTestKey());
    EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
    EXPECT_EQ(log->Count(LogLevel::Error, L"QVDC library path is not absolute and canonical"), 1u);
    EXPECT_TRUE(Display().LoadedPaths().empty());
}

TEST_F(DisplayTest, OnlyAnExactOneIsASupportedPlatform) {
    Panel().platformSupported = 2;
    EXPECT_EQ(Call(78, L"{\"IValue\":70}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(NewCalls(), (Calls{"IsPlatformSupported()"}));
}

TEST_F(DisplayTest, AnUnsupportedPlatformKeepsTheLibraryLoadedButNotReady) {
    Panel().platformSupported = 0;
    EXPECT_EQ(Call(71, L"{\"IValue\":17}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(75, L"{\"RedGain\":1,\"GreenGain\":2,\"BlueGain\":3}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(73, L"{\"Status\":true,\"Mode\":2}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(78, L"{\"IValue\":70}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(74), (Answer{Status::kSuccess, L"{\"result\":{}}"}));
    EXPECT_EQ(Call(69), (Answer{Status::kSuccess, L"{\"result\":[]}"}));
    EXPECT_EQ(Call(72), (Answer{Status::kSuccess, L"{\"result\":{}}"}));
    EXPECT_EQ(DisplayHelper::GetInstance()->GetContrast(), -1);
    EXPECT_EQ(DisplayHelper::GetInstance()->GetInputSource(), -1);
    // Nothing started, nothing set; 70 and 77 still reach the loaded library.
    EXPECT_EQ(NewCalls(), (Calls{"IsPlatformSupported()"}));
    EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":50}"}));
    EXPECT_EQ(log->Count(LogLevel::Error), 0u);
}

TEST_F(DisplayTest, ANegativePortraitCheckTakesTheLibraryAway) {
    EXPECT_EQ(DisplayHelper::GetInstance()->GetInputSource(), 15);
    // The vendor's software stops being usable after the library started: the tool says so.
    Panel().platformSupported = 0;
    EXPECT_EQ(Call(76), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(DisplayHelper::GetInstance()->GetInputSource(), -1);
    EXPECT_EQ(Call(71, L"{\"IValue\":17}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Panel().inputSource, 15);
    // A positive one gives it back.
    Panel().platformSupported = 1;
    EXPECT_EQ(Call(76), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(DisplayHelper::GetInstance()->GetInputSource(), 15);
}

TEST_F(DisplayTest, SettersConfirmByReadingBack) {
    NewCalls();
    EXPECT_EQ(Call(71, L"{\"IValue\":17}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(70), (Answer{Status::kSuccess, L"{\"result\":17}"}));
    // A source the panel does not have: set, read back, not confirmed.
    EXPECT_EQ(Call(71, L"{\"IValue\":99}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(78, L"{\"IValue\":70}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(78, L"{\"IValue\":101}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(77), (Answer{Status::kSuccess, L"{\"result\":70}"}));
    NewCalls();
    EXPECT_EQ(Call(75, L"{\"RedGain\":90,\"GreenGain\":80,\"BlueGain\":70}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(NewCalls(), (Calls{"SetRedGain(90)", "SetGreenGain(80)", "SetBlueGain(70)", "GetRedGain()",
                                 "GetGreenGain()", "GetBlueGain()"}));
    EXPECT_EQ(Call(74), (Answer{Status::kSuccess,
                                L"{\"result\":{\"Supported\":true,\"RedGain\":90,\"GreenGain\":80,\"BlueGain\":70}}"}));
    // The panel keeps another red: the first mismatch ends the check.
    Panel().redDrift = 88;
    EXPECT_EQ(Call(75, L"{\"RedGain\":10,\"GreenGain\":20,\"BlueGain\":30}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(NewCalls().back(), "GetRedGain()");
    for (const wchar_t* input : {L"{\"GreenGain\":1,\"BlueGain\":1}", L"{\"RedGain\":null,\"GreenGain\":1,\"BlueGain\":1}",
                                 L"{\"RedGain\":1,\"GreenGain\":1}", L"{\"RedGain\":\"1\",\"GreenGain\":1,\"BlueGain\":1}"})
        EXPECT_EQ(Call(75, input).status, Status::kArgumentCheckFailed) << input;
    for (unsigned number : {62u, 68u, 71u, 78u})
        for (const wchar_t* input : {L"{}", L"{\"IValue\":null}", L"{\"IValue\":\"5\"}"})
            EXPECT_EQ(Call(number, input).status, Status::kArgumentCheckFailed) << number << input;
    EXPECT_TRUE(NewCalls().empty());
}

TEST_F(DisplayTest, GainsNeedTheirFeatureBit) {
    Panel().features = 0x0F;  // every bit but 0x10
    EXPECT_EQ(Call(74), (Answer{Status::kSuccess, L"{\"result\":{}}"}));
    Panel().features = 0x10;
    EXPECT_EQ(Call(74).text, L"{\"result\":{\"Supported\":true,\"RedGain\":100,\"GreenGain\":100,\"BlueGain\":100}}");
}

TEST_F(DisplayTest, TheScheduleIsSetOnlyAsFarAsItIsGiven) {
    Call(72);
    NewCalls();
    // Only "Mode" 2: the mode setter alone, with 2.
    EXPECT_EQ(Call(73, L"{\"Mode\":2}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(NewCalls(), (Calls{"SetShedulerMode(2)"}));
    // "Status" false cannot switch it off: nothing is called.
    Panel().scheduleOn = true;
    EXPECT_EQ(Call(73, L"{\"Status\":false}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_TRUE(NewCalls().empty());
    EXPECT_TRUE(Panel().scheduleOn);
    // A missing "EndMinute": no time is written.
    EXPECT_EQ(Call(73, L"{\"Status\":true,\"StartHour\":22,\"StartMinute\":30,\"EndHour\":6}"),
              (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(NewCalls(), (Calls{"EnableSchedule(1)"}));
    // Everything, and read back in order.
    EXPECT_EQ(Call(73, L"{\"Status\":true,\"Mode\":0,\"StartHour\":22,\"StartMinute\":30,\"EndHour\":0,\"EndMinute\":0}"),
              (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(NewCalls(), (Calls{"EnableSchedule(1)", "SetShedulerMode(0)", "SetScheduleTime(22,30,0,0)"}));
    EXPECT_EQ(Call(72), (Answer{Status::kSuccess, L"{\"result\":{\"Status\":true,\"Mode\":0,\"StartHour\":22,"
                                                 L"\"StartMinute\":30,\"EndHour\":0,\"EndMinute\":0}}"}));
    // Nothing is rejected: a text where a number belongs counts as absent.
    EXPECT_EQ(Call(73, L"{\"Mode\":\"2\",\"StartHour\":null}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
}

TEST_F(DisplayTest, SupportedSourcesAreCutToTheirCount) {
    Panel().inputSources = {3, 5, 9};
    EXPECT_EQ(Call(69), (Answer{Status::kSuccess, L"{\"result\":[3,5,9]}"}));
    EXPECT_EQ(NewCalls().back(), "GetSupportedInputSources(array,10)");
    Panel().inputSources = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(Call(69).text, L"{\"result\":[1,2,3,4,5,6,7,8,9,10,0,0]}");
    Panel().inputSources = {};
    EXPECT_EQ(Call(69).text, L"{\"result\":[]}");
}

TEST_F(DisplayTest, BrightnessIsTheMonitorsThroughWmi) {
    EXPECT_EQ(Call(61), (Answer{Status::kSuccess, L"{\"result\":60}"}));
    EXPECT_EQ(log->Count(LogLevel::Info, L"DisplayHelper::GetBrightness brightness is 60"), 1u);
    EXPECT_EQ(Call(62, L"{\"IValue\":35}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.SimulatedWmi().MethodCalls().back(), L"WmiSetBrightness(Timeout=0:19,Brightness=35:17)");
    EXPECT_EQ(Call(61), (Answer{Status::kSuccess, L"{\"result\":35}"}));
    // 255 goes to WMI as it stands, and the method refuses it.
    EXPECT_EQ(Call(62, L"{\"IValue\":255}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.SimulatedWmi().MethodCalls().back(), L"WmiSetBrightness(Timeout=0:19,Brightness=255:17)");
    EXPECT_EQ(Call(61).text, L"{\"result\":35}");
}

TEST_F(DisplayTest, WithoutTheWmiConnectionBrightnessIsMinusOneForGood) {
    const struct {
        platform::WmiConnectStep step;
        const wchar_t* line;
    } cases[] = {{platform::WmiConnectStep::ComInit, L"DisplayHelper::InitBrightness CoInitializeEx failed\n\n"},
                 {platform::WmiConnectStep::Security, L"DisplayHelper::InitBrightness CoInitializeSecurity failed\n\n"},
                 {platform::WmiConnectStep::Locator, L"DisplayHelper::InitBrightness CoCreateInstance failed\n\n"},
                 {platform::WmiConnectStep::ConnectServer, L"DisplayHelper::InitBrightness ConnectServer failed\n\n"},
                 {platform::WmiConnectStep::ProxyBlanket, L"DisplayHelper::InitBrightness CoSetProxyBlanket failed\n\n"}};
    for (const auto& c : cases) {
        DisplayHelper::Release();
        log->Clear();
        device.SimulatedWmi().FailConnect(L"ROOT\\WMI", c.step, static_cast<int32_t>(0x80041003));
        for (int i = 0; i < 2; ++i) EXPECT_EQ(Call(61), (Answer{Status::kSuccess, L"{\"result\":-1}"})) << c.line;
        EXPECT_EQ(Call(62, L"{\"IValue\":40}"), (Answer{Status::kSuccess, L"{\"result\":false}"})) << c.line;
        EXPECT_EQ(log->Count(LogLevel::Error, c.line), 1u) << c.line;
    }
    EXPECT_EQ(device.SimulatedWmi().Property(L"ROOT\\WMI", L"WmiMonitorBrightness", L"CurrentBrightness"),
              (std::optional<platform::WmiValue>(int32_t{60})));
}

TEST_F(DisplayTest, HdrCountsOnlyAnExactOne) {
    EXPECT_EQ(Call(63), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(64), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(65, L"{\"BValue\":true}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.CommandLines().back(),
              L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" DisplayHDR SetHDROnOff \"1\"");
    EXPECT_EQ(Call(64), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    for (const auto& [reply, answer] : std::vector<std::pair<std::string, const wchar_t*>>{
             {"2\r\n", L"{\"result\":false}"}, {"-1\r\n", L"{\"result\":false}"}, {"1\r\n", L"{\"result\":true}"},
             {"x\r\n", L"{\"result\":false}"}, {"0\r\n", L"{\"result\":false}"}}) {
        device.Tool().replies[L"IsHDRSupported"] = reply;
        device.Tool().replies[L"SetHDROnOff"] = reply;
        EXPECT_EQ(Call(63).text, answer) << reply;
        EXPECT_EQ(Call(65, L"{\"BValue\":false}").text, answer) << reply;
    }
    for (const wchar_t* input : {L"{}", L"{\"BValue\":null}"}) EXPECT_EQ(Call(65, input).status, Status::kArgumentCheckFailed);
    bool flag = true;
    device.Tool().replies[L"IsHDRSupported"] = "2\r\n";
    EXPECT_TRUE(DisplayHelper::GetInstance()->IsHDRSupported(flag));
    EXPECT_FALSE(flag);
    device.Tool().replies[L"IsHDRSupported"] = "-1\r\n";
    EXPECT_FALSE(DisplayHelper::GetInstance()->IsHDRSupported(flag));
    device.Tool().replies[L"IsHDRSupported"] = "-2\r\n";
    EXPECT_FALSE(DisplayHelper::GetInstance()->IsHDRSupported(flag));
    EXPECT_FALSE(flag);
}

TEST_F(DisplayTest, DisplayModesGoThroughTheToolAfterThePortraitCheck) {
    EXPECT_EQ(Call(67), (Answer{Status::kSuccess, L"{\"result\":0}"}));
    EXPECT_EQ(Call(68, L"{\"IValue\":7}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.CommandLines().back(),
              L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" DisplayPortrait SetDisplayMode \"7\"");
    EXPECT_EQ(Call(67).text, L"{\"result\":7}");
    EXPECT_EQ(Call(68, L"{\"IValue\":-3}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.CommandLines().back(),
              L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" DisplayPortrait SetDisplayMode \"-3\"");
    EXPECT_EQ(Call(66), (Answer{Status::kSuccess, L"{\"result\":[0,1,2,7,13]}"}));

    // The tool answers the mode it now holds: another one is no confirmation.
    device.Tool().replies[L"SetDisplayMode"] = "2\r\n";
    EXPECT_EQ(Call(68, L"{\"IValue\":13}").text, L"{\"result\":false}");
    device.Tool().replies[L"GetDisplayMode"] = "mode\r\n";
    EXPECT_EQ(Call(67).text, L"{\"result\":-1}");
    EXPECT_EQ(log->Count(LogLevel::Error, L"DisplayHelper::GetDisplayMode: Failed to convert mode string to integer: mode"), 1u);

    device.RemoveFile(kLibrary);  // no vendor's software: no presets either
    EXPECT_EQ(Call(67).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(68, L"{\"IValue\":1}").text, L"{\"result\":false}");
    EXPECT_EQ(Call(66), (Answer{Status::kSuccess, L"{\"result\":[]}"}));
    for (const wchar_t* line : {L"DisplayHelper::GetDisplayMode: Portrait mode is not supported",
                                L"DisplayHelper::SetDisplayMode: Portrait mode is not supported",
                                L"DisplayHelper::GetDisplaySupportedMode: Portrait mode is not supported"})
        EXPECT_EQ(log->Count(LogLevel::Info, line), 1u) << line;
}

TEST_F(DisplayTest, SupportedModesAreSplitAtBlanksTabsAndLineEnds) {
    Tool([](Sim::SimDisplayTool& tool) { tool.supportedModesLine = L"  3\t12 ,7 1,2\t\t-4 x9 "; });
    EXPECT_EQ(Call(66), (Answer{Status::kSuccess, L"{\"result\":[3,12,1,-4]}"}));
    // ",7" and "x9" are no numbers; "1,2" reads as far as it is one.
    EXPECT_EQ(log->Count(LogLevel::Error, L"DisplayHelper::GetDisplaySupportedMode: Failed to convert mode string to integer: ,7"), 1u);
    EXPECT_EQ(log->Count(LogLevel::Error, L"Failed to convert mode string to integer: x9"), 1u);
}

TEST(ColourPresetsTest, EveryNumberNamesItsPreset) {
    const wchar_t* expected[36] = {L"Standard", L"Gaming", L"Photo", L"Custom", L"Low Blue Light", L"Reading", L"Night",
                                   L"Movie", L"Warm", L"Cool", L"QV Enhance Plus", L"Native", L"Vivid", L"sRGB D65",
                                   L"P3 D65", L"BT709 D65", nullptr, nullptr, nullptr, nullptr, L"Native", L"Default",
                                   L"Low Blue Light", L"Web (sRGB)", L"Photos and Videos (DCI P3)",
                                   L"Printing and Imaging (Adobe RGB)", L"Photos and Videos", L"sRGB D65", L"sRGB D50",
                                   L"P3 D65", L"BT709 D65", L"Adobe RGB D65", L"Work", L"Low Light", L"Entertainment",
                                   L"Photos and Videos (P3 D65)"};
    for (int number = 0; number < 36; ++number) {
        const wchar_t* name = ColourPresetName(number);
        if (expected[number] == nullptr) {
            EXPECT_EQ(name, nullptr) << number;
        } else {
            ASSERT_NE(name, nullptr) << number;
            EXPECT_EQ(std::wstring(name), expected[number]) << number;
        }
    }
    EXPECT_EQ(ColourPresetName(-1), nullptr);
    EXPECT_EQ(ColourPresetName(36), nullptr);
}

}  // namespace
}  // namespace Qv::Tests
