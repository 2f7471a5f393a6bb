// Camera commands end to end on the simulated laptop: the tool's words and arguments, how its
// replies read, the argument checks, and the system-wide switch run in the service's context.
#include "areas/camera/CameraHelper.h"
#include "areas/camera/sim/SimCamera.h"
#include "core/status.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class CameraTest : public ServiceFixture {
protected:
    CameraTest() { device.InstallTool(TrustedTestKey()); }

    Sim::SimCamera& Camera() { return device.Tool().Area<Sim::SimCamera>(); }
    static std::wstring Line(const wchar_t* function, const wchar_t* argument = L"") {
        return std::wstring(L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Camera ") + function + L" \"" +
               argument + L"\"";
    }
};

TEST_F(CameraTest, EachCommandSendsItsWordAndArgument) {
    const struct {
        unsigned number;
        const wchar_t* input;
        const wchar_t* answer;
        const wchar_t* line;
    } cases[] = {
        {1, L"{}", L"{\"result\":true}", L"IsZoomSupported|"},
        {2, L"{}", L"{\"result\":100}", L"GetZoom|"},
        {3, L"{\"IValue\":250}", L"{\"result\":true}", L"SetZoom|250"},
        {2, L"{}", L"{\"result\":250}", L"GetZoom|"},
        {4, L"{}", L"{\"result\":true}", L"IsBlurSupported|"},
        {5, L"{}", L"{\"result\":false}", L"GetBlurOnOff|"},
        {6, L"{\"BValue\":true}", L"{\"result\":true}", L"SetBlurOnOff|1"},
        {5, L"{}", L"{\"result\":true}", L"GetBlurOnOff|"},
        {7, L"{}", L"{\"result\":true}", L"IsAutoFrameSupported|"},
        {8, L"{}", L"{\"result\":false}", L"GetAutoFrameOnOff|"},
        {9, L"{\"BValue\":true}", L"{\"result\":true}", L"SetAutoFrameOnOff|1"},
        {10, L"{}", L"{\"result\":50}", L"GetBrightness|"},
        {11, L"{\"IValue\":-3}", L"{\"result\":false}", L"SetBrightness|-3"},
        {11, L"{\"IValue\":70}", L"{\"result\":true}", L"SetBrightness|70"},
        {13, L"{}", L"{\"result\":true}", L"IsCameraSupported|"},
    };
    for (const auto& c : cases) {
        const std::wstring words = c.line;
        const std::wstring function = words.substr(0, words.find(L'|'));
        const std::wstring argument = words.substr(words.find(L'|') + 1);
        EXPECT_EQ(Call(c.number, c.input), (Answer{Status::kSuccess, c.answer})) << c.number << " " << c.input;
        EXPECT_EQ(device.CommandLines().back(), Line(function.c_str(), argument.c_str())) << c.number;
    }
    EXPECT_EQ(Camera().zoom, 250);
    EXPECT_TRUE(Camera().blur);
    EXPECT_TRUE(Camera().autoFrame);
    EXPECT_EQ(Camera().brightness, 70);
}

TEST_F(CameraTest, ValuesPassUncheckedAndTheToolDecides) {
    // Ranges are the tool's business: 1000 goes to the tool as it stands, which refuses it.
    EXPECT_EQ(Call(3, L"{\"IValue\":1000}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.CommandLines().back(), Line(L"SetZoom", L"1000"));
    EXPECT_EQ(Camera().zoom, 100);
    // "BValue" is on only as the literal true.
    for (const wchar_t* off : {L"{\"BValue\":false}", L"{\"BValue\":1}", L"{\"BValue\":\"true\"}"}) {
        Camera().blur = true;
        EXPECT_EQ(Call(6, off), (Answer{Status::kSuccess, L"{\"result\":true}"})) << off;
        EXPECT_EQ(device.CommandLines().back(), Line(L"SetBlurOnOff", L"0")) << off;
        EXPECT_FALSE(Camera().blur) << off;
    }
    const size_t runs = device.CommandLines().size();
    for (unsigned number : {3u, 11u})
        for (const wchar_t* bad : {L"{}", L"{\"IValue\":null}", L"{\"IValue\":\"5\"}", L"{\"IValue\":2.5}"})
            EXPECT_EQ(Call(number, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << number << bad;
    for (unsigned number : {6u, 9u, 12u})
        for (const wchar_t* bad : {L"{}", L"{\"BValue\":null}"})
            EXPECT_EQ(Call(number, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << number << bad;
    EXPECT_EQ(device.CommandLines().size(), runs) << "a refused request starts nothing";
}

TEST_F(CameraTest, RepliesReadAsTheRunnerReadsThem) {
    auto& replies = device.Tool().replies;
    for (const auto& [reply, zoom, supported] : std::vector<std::tuple<std::string, const wchar_t*, const wchar_t*>>{
             {"1\r\n", L"{\"result\":1}", L"{\"result\":true}"},
             {"0\r\n", L"{\"result\":0}", L"{\"result\":false}"},
             {"7\r\n", L"{\"result\":7}", L"{\"result\":true}"},
             {"-1\r\n", L"{\"result\":-1}", L"{\"result\":false}"},
             {"abc\r\n", L"{\"result\":-1}", L"{\"result\":false}"}}) {
        replies[L"GetZoom"] = reply;
        replies[L"IsBlurSupported"] = reply;
        EXPECT_EQ(Call(2).text, zoom) << reply;
        EXPECT_EQ(Call(4).text, supported) << reply;
    }
}

TEST_F(CameraTest, AnUntrustedToolGivesFalseAndMinusOne) {
    device.InstallTool({0x30, 0x03, 0x02, 0x01, 0x01});  // signed, with a key no table lists
    EXPECT_EQ(Call(13).text, L"{\"result\":false}");
    EXPECT_EQ(Call(2).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(10).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(6, L"{\"BValue\":true}").text, L"{\"result\":false}");
    EXPECT_TRUE(device.CommandLines().empty());
    EXPECT_EQ(Call(12, L"{\"BValue\":true}").text, L"{\"result\":false}");
    EXPECT_TRUE(device.ProcessorCommands().empty());
}

TEST_F(CameraTest, TheSystemSwitchRunsTheSettingsProgramInTheServicesContext) {
    EXPECT_EQ(Call(12, L"{\"BValue\":false}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.ProcessorCommands(),
              std::vector<std::string>{"C:\\Windows\\system32\\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 0"});
    EXPECT_FALSE(Camera().systemEnabled);
    EXPECT_TRUE(log->Contains(L"CameraHelper::SetCameraOnOff Registry value updated successfully."));
    EXPECT_EQ(Call(12, L"{\"BValue\":true}").text, L"{\"result\":true}");
    EXPECT_EQ(device.ProcessorCommands().back(),
              "C:\\Windows\\system32\\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 1");
    EXPECT_TRUE(Camera().systemEnabled);
    // Only the tool's question ran as the user; the switch itself is not a user's command line.
    EXPECT_EQ(device.CommandLines(), (std::vector<std::wstring>{Line(L"IsCameraSupported"), Line(L"IsCameraSupported")}));
}

TEST_F(CameraTest, WithoutACameraTheSwitchRunsNothing) {
    Camera().present = false;
    EXPECT_EQ(Call(13).text, L"{\"result\":false}");
    EXPECT_EQ(Call(1).text, L"{\"result\":false}");
    EXPECT_EQ(Call(2).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(12, L"{\"BValue\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_TRUE(log->Contains(L"CameraHelper::SetCameraOnOff Camera not supported on this device"));
    EXPECT_TRUE(device.ProcessorCommands().empty());
    EXPECT_EQ(Camera().settingsRuns, 0);
}

TEST_F(CameraTest, OnlyANegativeProcessorStatusIsAFailure) {
    // The command is built from the system folder as the system reports it.
    device.WithWorld([](Sim::SimWorld& world) { world.systemFolder = L"C:\\Elsewhere"; });
    EXPECT_EQ(Call(12, L"{\"BValue\":true}").text, L"{\"result\":true}");
    EXPECT_EQ(device.ProcessorCommands().back(), "C:\\Elsewhere\\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 1");

    device.WithWorld([](Sim::SimWorld& world) { world.commandProcessorMissing = true; });
    EXPECT_EQ(Call(12, L"{\"BValue\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(log->Count(LogLevel::Error, L"CameraHelper::SetCameraOnOff Error SystemSettingsAdminFlows execute failed"), 1u);
}

TEST_F(CameraTest, EachControlAnswersForItselfAndASetMustHold) {
    Camera().autoFrameSupported = false;
    EXPECT_EQ(Call(7).text, L"{\"result\":false}");
    EXPECT_EQ(Call(8).text, L"{\"result\":false}");  // -1 from the tool reads as false
    EXPECT_EQ(Call(9, L"{\"BValue\":true}").text, L"{\"result\":false}");
    EXPECT_EQ(Call(4).text, L"{\"result\":true}");
    Camera().brightnessSupported = false;
    EXPECT_EQ(Call(10).text, L"{\"result\":-1}");
    EXPECT_EQ(Call(2).text, L"{\"result\":100}");

    // A driver that takes a value without holding it: the tool reads back and answers -1.
    Camera().setsTakeEffect = false;
    EXPECT_EQ(Call(3, L"{\"IValue\":200}").text, L"{\"result\":false}");
    EXPECT_EQ(Call(6, L"{\"BValue\":true}").text, L"{\"result\":false}");
    EXPECT_EQ(Camera().zoom, 100);
}

}  // namespace
}  // namespace Qv::Tests
