// Audio commands end to end on the simulated laptop: the endpoint list, mute and volume of the
// default endpoints, and the two vendors' noise control and speaker swap.
#include <system_error>

#include "areas/audio/AudioHelper.h"
#include "areas/audio/sim/SimAudio.h"
#include "core/status.h"
#include "platform/sim/SimWorld.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;
using Flow = platform::IAudioEndpoints::Flow;
using Sim::SimAudioEndpoints;
using ServiceState = Sim::SimServiceStatus::State;

constexpr wchar_t kSpeakers[] =
    L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}#{e6327cad-dcec-4949-ae8a-991e976a79d2}";
constexpr wchar_t kMicrophone[] =
    L"\\\\?\\SWD#MMDEVAPI#{0.0.1.00000000}.{2d8e7f90-3a1b-4c5d-a6e7-f8091a2b3c4d}#{2eef81be-33fa-4800-9670-1cd474972c3f}";

class AudioTest : public ServiceFixture {
protected:
    SimAudioEndpoints& Audio() { return Sim::SimulatedAudio(device); }
    Sim::SimServiceStatus& Services() { return Sim::SimulatedServices(device); }
    AudioHelper& Helper() { return *AudioHelper::GetInstance(); }
    template <class Body>
    void Realtek(Body body) {
        device.WithWorld([&](Sim::SimWorld& world) { body(world.tool.Area<Sim::SimRealtek>()); });
    }
    void InstallRealtek(ServiceState state = ServiceState::Running) {
        Services().SetService(L"RtkAudioUniversalService", state);
        Realtek([](Sim::SimRealtek& realtek) { realtek.installed = true; });
    }
    SimAudioEndpoints::Endpoint& Endpoint(SimAudioEndpoints::FlowState& state, const std::wstring& id) {
        for (auto& endpoint : state.endpoints)
            if (endpoint.id == id) return endpoint;
        throw std::logic_error("no such endpoint");
    }
    float Level(Flow flow, const std::wstring& id) {
        auto state = Audio().GetFlow(flow);
        return Endpoint(state, id).level;
    }
    bool Muted(Flow flow, const std::wstring& id) {
        auto state = Audio().GetFlow(flow);
        return Endpoint(state, id).muted;
    }
    void SetLevel(Flow flow, float level) {
        auto state = Audio().GetFlow(flow);
        Endpoint(state, state.volumeId).level = level;
        Audio().SetFlow(flow, state);
    }
};

TEST_F(AudioTest, EveryCommandRefusesABadDataFlow) {
    const wchar_t* bad[] = {L"{\"dataFlow\":2,\"enable\":true,\"volume\":5}",
                            L"{\"dataFlow\":-1,\"enable\":true,\"volume\":5}",
                            L"{\"enable\":true,\"volume\":5}",
                            L"{\"dataFlow\":null,\"enable\":true,\"volume\":5}",
                            L"{\"dataFlow\":\"0\",\"enable\":true,\"volume\":5}",
                            L"{\"dataFlow\":4294967296,\"enable\":true,\"volume\":5}"};
    for (unsigned number : {41u, 42u, 43u, 44u, 45u, 46u})
        for (const wchar_t* input : bad)
            EXPECT_EQ(Call(number, input).status, Status::kArgumentCheckFailed) << number << " " << input;
    EXPECT_TRUE(Audio().SentCommands().empty());
    EXPECT_TRUE(device.BoundedCommandLines().empty());
}

TEST_F(AudioTest, TheListCarriesFiveMembersInOrderAndMarksTheDefault) {
    const std::wstring speakers = L"{\"name\":\"Speakers (High Definition Audio)\",\"description\":\"Speakers (High "
                                  L"Definition Audio)\",\"swdMMDevApiId\":\"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.0.00000000}.{"
                                  L"6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}#{e6327cad-dcec-4949-ae8a-991e976a79d2}\","
                                  L"\"sEndpointId\":\"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-"
                                  L"9e55-0a7d3e9b8c12}#{e6327cad-dcec-4949-ae8a-991e976a79d2}\",\"isDefaultDevice\":true}";
    const std::wstring headphones = L"{\"name\":\"Headphones (High Definition Audio)\",\"description\":\"Headphones "
                                    L"(High Definition Audio)\",\"swdMMDevApiId\":\"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.0."
                                    L"00000000}.{9a4b2c61-5d3e-4f70-8b19-c2e6a1f4d703}#{e6327cad-dcec-4949-ae8a-"
                                    L"991e976a79d2}\",\"sEndpointId\":\"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.0.00000000}.{"
                                    L"9a4b2c61-5d3e-4f70-8b19-c2e6a1f4d703}#{e6327cad-dcec-4949-ae8a-991e976a79d2}\","
                                    L"\"isDefaultDevice\":false}";
    EXPECT_EQ(Call(41, L"{\"dataFlow\":0}"),
              (Answer{Status::kSuccess, L"{\"result\":{\"RenderDeviceList\":[" + speakers + L"," + headphones + L"]}}"}));
    // Only the literal true filters; a string does not.
    EXPECT_EQ(Call(41, L"{\"dataFlow\":0,\"filterDefault\":true}"),
              (Answer{Status::kSuccess, L"{\"result\":" + speakers + L"}"}));
    for (const wchar_t* input : {L"{\"dataFlow\":0,\"filterDefault\":\"true\"}", L"{\"dataFlow\":0,\"filterDefault\":1}",
                                 L"{\"dataFlow\":0,\"filterDefault\":null}"})
        EXPECT_EQ(Call(41, input).text, L"{\"result\":{\"RenderDeviceList\":[" + speakers + L"," + headphones + L"]}}")
            << input;
    const auto capture = Call(41, L"{\"dataFlow\":1}");
    EXPECT_EQ(capture.status, Status::kSuccess);
    EXPECT_TRUE(capture.text->starts_with(L"{\"result\":{\"CaptureDeviceList\":[{\"name\":\"Microphone Array"));
}

TEST_F(AudioTest, TheDefaultIsMatchedExactlyAndTheLastMatchWins) {
    auto render = Audio().GetFlow(Flow::Render);
    // An id that differs only in case is another device.
    render.defaultId = L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{6F1C0D4E-21B7-4C8A-9E55-0A7D3E9B8C12}#{e6327cad-dcec-"
                       L"4949-ae8a-991e976a79d2}";
    Audio().SetFlow(Flow::Render, render);
    EXPECT_EQ(Call(41, L"{\"dataFlow\":0,\"filterDefault\":true}"), (Answer{Status::kSuccess, L"{\"result\":null}"}));
    EXPECT_EQ(Call(41, L"{\"dataFlow\":0}").text->find(L"true"), std::wstring::npos);

    render.endpoints = {{L"a", L"First", false, 0.5f, {}}, {L"b", L"Second", false, 0.5f, {}}, {L"a", L"Third", false, 0.5f, {}}};
    render.defaultId = L"a";
    Audio().SetFlow(Flow::Render, render);
    EXPECT_EQ(Call(41, L"{\"dataFlow\":0,\"filterDefault\":true}").text,
              L"{\"result\":{\"name\":\"Third\",\"description\":\"Third\",\"swdMMDevApiId\":\"a\",\"sEndpointId\":\"a\","
              L"\"isDefaultDevice\":true}}");
    Json::Document response;
    response.SetObject();
    EXPECT_EQ(Helper().GetAudioDeviceList(0, false, &response), 3);
    Json::Document alone;
    alone.SetObject();
    EXPECT_EQ(Helper().GetAudioDeviceList(0, true, &alone), 1);
}

TEST_F(AudioTest, NoRecordingDeviceGivesNullOrAnEmptyList) {
    Audio().SetFlow(Flow::Capture, {});
    EXPECT_EQ(Call(41, L"{\"dataFlow\":1,\"filterDefault\":true}"), (Answer{Status::kSuccess, L"{\"result\":null}"}));
    Audio().SetDefaultIdFailure(0);
    auto capture = Audio().GetFlow(Flow::Capture);
    capture.defaultId = L"gone";
    Audio().SetFlow(Flow::Capture, capture);
    EXPECT_EQ(Call(41, L"{\"dataFlow\":1}"), (Answer{Status::kSuccess, L"{\"result\":{\"CaptureDeviceList\":[]}}"}));
}

TEST_F(AudioTest, AFailedEnumerationIsRaisedWithItsHresult) {
    Audio().SetEnumerationFailure(static_cast<int32_t>(0x80004002));
    try {
        Call(41, L"{\"dataFlow\":0}");
        ADD_FAILURE() << "no exception";
    } catch (const std::system_error& error) {
        EXPECT_NE(std::string(error.what()).find("0x80004002"), std::string::npos) << error.what();
    }
    Audio().SetEnumerationFailure(0);
    Audio().SetDefaultIdFailure(static_cast<int32_t>(0x80070490));
    EXPECT_THROW(Call(41, L"{\"dataFlow\":1}"), std::system_error);
}

TEST_F(AudioTest, MuteActsOnTheMultimediaAndCommunicationsDefaults) {
    // The volume roles differ from the list's: playback's multimedia default is the headphones.
    constexpr wchar_t kHeadphones[] = L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{9a4b2c61-5d3e-4f70-8b19-c2e6a1f4d703}#{"
                                      L"e6327cad-dcec-4949-ae8a-991e976a79d2}";
    auto render = Audio().GetFlow(Flow::Render);
    render.volumeId = kHeadphones;
    Audio().SetFlow(Flow::Render, render);

    EXPECT_EQ(Call(42, L"{\"dataFlow\":0}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(43, L"{\"dataFlow\":0,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_TRUE(Muted(Flow::Render, kHeadphones));
    EXPECT_FALSE(Muted(Flow::Render, kSpeakers));
    EXPECT_EQ(Call(42, L"{\"dataFlow\":0}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    // Only the literal true mutes: 1, "true" and false unmute.
    for (const wchar_t* input : {L"{\"dataFlow\":0,\"enable\":1}", L"{\"dataFlow\":0,\"enable\":\"true\"}",
                                 L"{\"dataFlow\":0,\"enable\":false}"}) {
        EXPECT_EQ(Call(43, L"{\"dataFlow\":0,\"enable\":true}").status, Status::kSuccess);
        EXPECT_EQ(Call(43, input), (Answer{Status::kSuccess, L"{\"result\":true}"})) << input;
        EXPECT_FALSE(Muted(Flow::Render, kHeadphones)) << input;
    }
    // A valid data flow without "enable" is refused by mute and by noise control alike.
    for (unsigned number : {43u, 46u})
        for (const wchar_t* input : {L"{\"dataFlow\":1}", L"{\"dataFlow\":1,\"enable\":null}"})
            EXPECT_EQ(Call(number, input).status, Status::kArgumentCheckFailed) << number << " " << input;
    EXPECT_EQ(Call(43, L"{\"dataFlow\":1,\"enable\":true}").status, Status::kSuccess);
    EXPECT_TRUE(Muted(Flow::Capture, kMicrophone));
    EXPECT_EQ(Audio().OpenVolumes(), 0);
}

TEST_F(AudioTest, WithoutComNothingIsReadOrChanged) {
    Audio().SetComInitFailure(static_cast<int32_t>(0x80010106));
    EXPECT_EQ(Call(42, L"{\"dataFlow\":0}"), (Answer{Status::kGeneralFailure, L"{}"}));
    EXPECT_EQ(Call(43, L"{\"dataFlow\":0,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(44, L"{\"dataFlow\":0}"), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
    EXPECT_EQ(Call(45, L"{\"dataFlow\":0,\"volume\":20}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_FALSE(Muted(Flow::Render, kSpeakers));
    EXPECT_FLOAT_EQ(Level(Flow::Render, kSpeakers), 0.5f);
    for (const wchar_t* line :
         {L"AudioHelper::IsAudioDeviceMuted CoInitialize failed", L"AudioHelper::MuteAudioDevice CoInitialize failed",
          L"AudioHelper::GetAudioVolume CoInitialize failed", L"AudioHelper::SetAudioVolume CoInitialize failed"})
        EXPECT_EQ(log->Count(LogLevel::Error, line), 1u) << line;
    // No endpoint of that role: 42 fails, the others answer in "result".
    Audio().SetComInitFailure(0);
    auto capture = Audio().GetFlow(Flow::Capture);
    capture.volumeId.clear();
    Audio().SetFlow(Flow::Capture, capture);
    EXPECT_EQ(Call(42, L"{\"dataFlow\":1}").status, Status::kGeneralFailure);
    EXPECT_EQ(Call(44, L"{\"dataFlow\":1}"), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
}

TEST_F(AudioTest, VolumeRoundsHalvesAwayFromZero) {
    const struct {
        float scalar;
        int percent;
    } cases[] = {{0.756f, 76}, {0.755f, 76}, {0.754f, 75}, {0.745f, 75}, {0.0f, 0}, {1.0f, 100}, {0.004f, 0}, {0.005f, 1}};
    for (const auto& c : cases) {
        SetLevel(Flow::Render, c.scalar);
        EXPECT_EQ(Call(44, L"{\"dataFlow\":0}"), (Answer{Status::kSuccess, L"{\"result\":" + std::to_wstring(c.percent) + L"}"}))
            << c.scalar;
    }
}

TEST_F(AudioTest, VolumeIsPassedOnUncheckedAndThePlatformDecides) {
    EXPECT_EQ(Call(45, L"{\"dataFlow\":0,\"volume\":37}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_FLOAT_EQ(Level(Flow::Render, kSpeakers), 0.37f);
    EXPECT_EQ(Call(45, L"{\"dataFlow\":1,\"volume\":100}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_FLOAT_EQ(Level(Flow::Capture, kMicrophone), 1.0f);
    for (const wchar_t* input : {L"{\"dataFlow\":0,\"volume\":150}", L"{\"dataFlow\":0,\"volume\":101}",
                                 L"{\"dataFlow\":0,\"volume\":-1}"})
        EXPECT_EQ(Call(45, input), (Answer{Status::kSuccess, L"{\"result\":false}"})) << input;
    EXPECT_FLOAT_EQ(Level(Flow::Render, kSpeakers), 0.37f);
    for (const wchar_t* input : {L"{\"dataFlow\":0}", L"{\"dataFlow\":0,\"volume\":null}", L"{\"dataFlow\":0,\"volume\":\"5\"}"})
        EXPECT_EQ(Call(45, input).status, Status::kArgumentCheckFailed) << input;
}

TEST_F(AudioTest, EndpointPathIsTheMiddleOfTheDeviceId) {
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{aa-bb}#{cc}"),
              L"{0.0.0.00000000}.{aa-bb}");
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L"no braces here#{cc}"), L"");
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L"x}y{z#{cc}"), L"");
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L"{only-this}"), L"{only-this}");
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L"a#{b}#c"), L"{b}");
    EXPECT_EQ(AudioHelper::ExtractDevicePath(L""), L"");
}

TEST_F(AudioTest, ARunningVendorServiceTakesTheScriptPath) {
    InstallRealtek();
    EXPECT_EQ(Call(46, L"{\"dataFlow\":1,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    ASSERT_EQ(device.BoundedCommandLines().size(), 1u);
    EXPECT_EQ(
        device.BoundedCommandLines()[0],
        L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command \"try "
        L"{ $SRV_CMD_Get_Support_RtkAINRForQv = [UInt32]0x100002A0;$SRV_CMD_Set_RtkAINRForQv = "
        L"[UInt32]0x100002A2;$DevicePathEndpointId = '{0.0.1.00000000}.{2d8e7f90-3a1b-4c5d-a6e7-f8091a2b3c4d}';$result = "
        L"Invoke-CimMethod -Namespace 'Root\\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName "
        L"'ServiceCommandStaticMethod' -Arguments @{DevicePath = $DevicePathEndpointId;Command = "
        L"$SRV_CMD_Get_Support_RtkAINRForQv;Index = 0;InValue = 0} -ErrorAction Stop;if ($result.OutValue -eq 1) { "
        L"$result2 = Invoke-CimMethod -Namespace 'Root\\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' "
        L"-MethodName 'ServiceCommandStaticMethod' -Arguments @{DevicePath = $DevicePathEndpointId;Command = "
        L"$SRV_CMD_Set_RtkAINRForQv;Index = 0;InValue =1;};\"Write-Host \"Result: $result2\" if ($result2.OutValue -eq 0) "
        L"{ Write-Host \"AINR Feature Toggle Success. Set to:Enabled\"} else { Write-Host \"Issue while setting AINR "
        L"feature.\" }} else { Write-Host \"Not Support AINR Feature\" }} catch { Write-Host 'Exception thrown'; "
        L"Write-Output $_; }\"");
    EXPECT_TRUE(Audio().SentCommands().empty());
    Realtek([](Sim::SimRealtek& realtek) { EXPECT_TRUE(realtek.noiseOn); });

    EXPECT_EQ(Call(46, L"{\"dataFlow\":0,\"enable\":false}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    const std::wstring off = device.BoundedCommandLines().back();
    EXPECT_NE(off.find(L"$DevicePathEndpointId = '{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}';"),
              std::wstring::npos);
    EXPECT_NE(off.find(L"InValue =0;};\"Write-Host"), std::wstring::npos);
    EXPECT_NE(off.find(L"Set to:Disabled\"}"), std::wstring::npos);
}

TEST_F(AudioTest, OnlyTheSuccessLineCountsOnTheScriptPath) {
    InstallRealtek();
    Realtek([](Sim::SimRealtek& realtek) { realtek.noiseSupported = false; });
    int status = 0;
    EXPECT_FALSE(Helper().ToggleNoiseControl(1, true, status));
    EXPECT_EQ(status, 0x20000004);
    EXPECT_EQ(Call(46, L"{\"dataFlow\":1,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    // A device id without braces: the script still runs, with an empty path, which the class refuses.
    Realtek([](Sim::SimRealtek& realtek) { realtek.noiseSupported = true; });
    auto capture = Audio().GetFlow(Flow::Capture);
    capture.defaultId = L"no-braces";
    Audio().SetFlow(Flow::Capture, capture);
    EXPECT_FALSE(Helper().ToggleNoiseControl(1, true, status));
    EXPECT_NE(device.BoundedCommandLines().back().find(L"$DevicePathEndpointId = '';"), std::wstring::npos);
    EXPECT_EQ(status, 0x20000004);
}

TEST_F(AudioTest, AQuoteInTheEndpointIdStaysInsideTheString) {
    InstallRealtek();
    Realtek([](Sim::SimRealtek& realtek) { realtek.devicePaths.insert(L"{0.0.1.00000000}.{x'; Remove-Item C:\\ #}"); });
    auto capture = Audio().GetFlow(Flow::Capture);
    capture.defaultId = L"\\\\?\\SWD#MMDEVAPI#{0.0.1.00000000}.{x'; Remove-Item C:\\ #}#{2eef81be}";
    capture.endpoints[0].id = capture.defaultId;
    Audio().SetFlow(Flow::Capture, capture);
    EXPECT_EQ(Call(46, L"{\"dataFlow\":1,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_NE(device.BoundedCommandLines().back().find(L"= '{0.0.1.00000000}.{x''; Remove-Item C:\\ #}';"),
              std::wstring::npos);
    Realtek([](Sim::SimRealtek& realtek) {
        EXPECT_EQ(realtek.calls.Items().back(), L"SetAINR {0.0.1.00000000}.{x'; Remove-Item C:\\ #} 1");
    });
}

TEST_F(AudioTest, ASilentPowerShellIsEndedAndAnswered) {
    InstallRealtek();
    Realtek([](Sim::SimRealtek& realtek) { realtek.hangs = true; });
    EXPECT_EQ(Call(46, L"{\"dataFlow\":1,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    int status = 0;
    EXPECT_FALSE(Helper().ToggleNoiseControl(1, true, status));
    EXPECT_EQ(status, 0x20000004);
    EXPECT_EQ(device.StalledRunsEnded(), 2u);
    EXPECT_EQ(log->Count(LogLevel::Error, L"RTKToggleNoiseControl: PowerShell wrote nothing"), 2u);
}

TEST_F(AudioTest, AnyOtherServiceStateTakesTheModulePath) {
    for (int variant = 0; variant < 3; ++variant) {
        if (variant == 0) Services().SetService(L"RtkAudioUniversalService", ServiceState::Stopped);
        if (variant == 1) Services().RemoveService(L"RtkAudioUniversalService");
        if (variant == 2) Services().SetService(L"RtkAudioUniversalService", ServiceState::Unreadable);
        Realtek([](Sim::SimRealtek& realtek) { realtek.installed = true; });
        EXPECT_EQ(Call(46, L"{\"dataFlow\":1,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":true}"}))
            << variant;
    }
    EXPECT_TRUE(device.BoundedCommandLines().empty());
    const auto sent = Audio().SentCommands();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].flow, Flow::Capture);
    EXPECT_EQ(sent[0].endpointId, kMicrophone);
    EXPECT_EQ(sent[0].moduleId, L"{CC962E46-3072-4CCF-B4B7-12DEF8EBB192}");
    EXPECT_EQ(sent[0].payload, (std::vector<uint8_t>{4, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));

    EXPECT_EQ(Call(46, L"{\"dataFlow\":0,\"enable\":false}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Audio().SentCommands().back().endpointId, kSpeakers);
    EXPECT_EQ(Audio().SentCommands().back().payload, (std::vector<uint8_t>{4, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(AudioTest, TheModulePathFailsCleanly) {
    int status = 0;
    Audio().SetModuleRefuses(true);
    EXPECT_FALSE(Helper().ToggleNoiseControl(1, true, status));
    EXPECT_EQ(status, 0x20000002);
    Audio().SetModuleRefuses(false);

    auto capture = Audio().GetFlow(Flow::Capture);
    capture.endpoints[0].modules.clear();
    Audio().SetFlow(Flow::Capture, capture);
    EXPECT_FALSE(Helper().ToggleNoiseControl(1, true, status));
    EXPECT_EQ(status, 0x20000004);

    Audio().SetModulesFailure(static_cast<int32_t>(0x80040154));
    EXPECT_EQ(Call(46, L"{\"dataFlow\":0,\"enable\":true}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_FALSE(Helper().ToggleNoiseControl(0, true, status));
    EXPECT_EQ(status, 0x20000002);
    EXPECT_GE(log->Count(LogLevel::Warning, L"HRESULT 0x80040154"), 1u);
}

TEST_F(AudioTest, SpeakerSwapNeedsTheVendorsSupport) {
    InstallRealtek();
    Realtek([](Sim::SimRealtek& realtek) { realtek.swapSupported = false; });
    EXPECT_EQ(Call(79, L"{\"IValue\":1}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(log->Count(LogLevel::Warning, L"Speaker swap is not supported on this device."), 1u);
    ASSERT_EQ(device.BoundedCommandLines().size(), 1u);
    EXPECT_EQ(
        device.BoundedCommandLines()[0],
        L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command \"try "
        L"{ $SRV_CMD_Get_Support_Speaker_Swap = [UInt32]0x10000292;$DevicePathEndpointId = "
        L"'{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}';$result = Invoke-CimMethod -Namespace "
        L"'Root\\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' "
        L"-Arguments @{DevicePath=$DevicePathEndpointId; Command=$SRV_CMD_Get_Support_Speaker_Swap; Index=0; InValue=0} "
        L"-ErrorAction Stop; if ($result.OutValue -eq 1) { Write-Host 'Supported' } else { Write-Host 'Not Possible' }} "
        L"catch { Write-Host 'Exception thrown' }\"");

    Realtek([](Sim::SimRealtek& realtek) { realtek.swapSupported = true; });
    EXPECT_EQ(Call(79, L"{\"IValue\":1}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(
        device.BoundedCommandLines().back(),
        L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command \"try "
        L"{ $SRV_CMD_Set_Speaker_Swap_Status = [UInt32]0x10000294;$DevicePathEndpointId = "
        L"'{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}';$result = Invoke-CimMethod -Namespace "
        L"'Root\\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' "
        L"-Arguments @{DevicePath=$DevicePathEndpointId; Command=$SRV_CMD_Set_Speaker_Swap_Status; Index=0; InValue=1} "
        L"-ErrorAction Stop; if ($result.OutValue -eq 0) { Write-Host 'Speaker Swap Disabled' } else { Write-Host "
        L"'Speaker Swap Enabled' }} catch { Write-Host 'Exception thrown' }\"");
    Realtek([](Sim::SimRealtek& realtek) { EXPECT_TRUE(realtek.swapOn); });
    // Switching it off is done, but reads as "Disabled", which is not "Enabled".
    EXPECT_EQ(Call(79, L"{\"IValue\":0}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    Realtek([](Sim::SimRealtek& realtek) { EXPECT_FALSE(realtek.swapOn); });

    for (const wchar_t* input : {L"{\"IValue\":2}", L"{\"IValue\":true}", L"{\"IValue\":-1}", L"{\"IValue\":\"1\"}",
                                 L"{\"IValue\":null}", L"{}"})
        EXPECT_EQ(Call(79, input).status, Status::kArgumentCheckFailed) << input;

    // The endpoint's id stays one literal of the script, whatever quote it holds.
    const std::wstring odd = L"{0.0.0.00000000}.{it's \"odd\"}";
    auto render = Audio().GetFlow(Flow::Render);
    for (auto& endpoint : render.endpoints)
        if (endpoint.id == render.defaultId) endpoint.id = L"\\\\?\\SWD#MMDEVAPI#" + odd + L"#{e6327cad-dcec-4949-ae8a-991e976a79d2}";
    render.defaultId = render.volumeId = render.endpoints.front().id;
    Audio().SetFlow(Flow::Render, render);
    Realtek([&](Sim::SimRealtek& realtek) { realtek.devicePaths.insert(odd); });
    EXPECT_EQ(Call(79, L"{\"IValue\":1}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    Realtek([&](Sim::SimRealtek& realtek) {
        EXPECT_TRUE(realtek.swapOn);
        EXPECT_NE(realtek.calls.Items().back().find(odd), std::wstring::npos);
    });

    // Its scripts run as noise control's do, and a PowerShell that cannot start says so in
    // noise control's words, for the support check and for the switch alike.
    for (int nth : {1, 2}) {
        log->Clear();
        device.Faults().FailNth(Sim::SimPort::Processes, nth, 5);
        EXPECT_EQ(Call(79, L"{\"IValue\":1}").text, L"{\"result\":false}") << nth;
        EXPECT_EQ(log->Count(LogLevel::Error, L"RTKToggleNoiseControl: Failed to create PowerShell process."), 1u) << nth;
    }
}

}  // namespace
}  // namespace Qv::Tests
