// Device profiles: each profile's getters answer what its file states (the expected values are
// read from the file here, not from the loader), a changed file is answered, setters act on the
// simulated state, and a profile that breaks the schema is refused with the member's path and
// leaves the device as it was.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/json.h"
#include "core/strings.h"
#include "profile/DeviceProfile.h"
#include "profile/JsonSchema.h"
#include "areas/monitor/sim/SimBattery.h"
#include "areas/monitor/sim/SimMemoryStatus.h"
#include "unit/Laptop.h"

namespace Qv::Tests {
namespace {

// A member of the profile by JSON Pointer-like path ("display/library/contrast"); null when
// any step is missing.
const Json::Value* At(const Json::Value& root, const std::wstring& path) {
    const Json::Value* value = &root;
    size_t start = 0;
    while (value != nullptr && start <= path.size()) {
        const size_t slash = path.find(L'/', start);
        const std::wstring key = path.substr(start, slash == std::wstring::npos ? std::wstring::npos : slash - start);
        value = value->IsObject() ? Json::FindMember(*value, key.c_str()) : nullptr;
        if (slash == std::wstring::npos) break;
        start = slash + 1;
    }
    return value;
}

std::wstring Result(const std::wstring& json) { return L"{\"result\":" + json + L"}"; }
std::wstring Bool(bool value) { return value ? L"true" : L"false"; }
std::wstring Int(const Json::Value* value) { return std::to_wstring(value->GetInt64()); }
std::wstring Ints(const Json::Value* list) {
    std::wstring text = L"[";
    for (const Json::Value& item : list->GetArray()) text += (text.size() > 1 ? L"," : L"") + std::to_wstring(item.GetInt64());
    return text + L"]";
}

class ProfileAnswers : public ::testing::TestWithParam<const char*> {};

TEST_P(ProfileAnswers, EveryGetterAnswersWhatTheFileStates) {
    const std::string text = ProfileText(GetParam());
    Json::Document profile;
    ASSERT_TRUE(Json::ParseRequest(profile, Core::Widen(text).c_str()));
    Laptop laptop(text);

    // Camera (1-13): nothing without a camera.
    const Json::Value* camera = At(profile, L"camera");
    if (camera->IsNull()) {
        for (unsigned number : {1u, 4u, 5u, 7u, 8u, 13u}) EXPECT_EQ(laptop.Call(number).text, Result(L"false")) << number;
        for (unsigned number : {2u, 10u}) EXPECT_EQ(laptop.Call(number).text, Result(L"-1")) << number;
    } else {
        // A control the camera does not offer reads as a failure.
        const auto supported = [&](const wchar_t* key) { return At(*camera, key)->GetBool(); };
        EXPECT_EQ(laptop.Call(13).text, Result(L"true"));
        EXPECT_EQ(laptop.Call(1).text, Result(Bool(supported(L"zoomSupported"))));
        EXPECT_EQ(laptop.Call(2).text, Result(supported(L"zoomSupported") ? Int(At(*camera, L"zoom")) : L"-1"));
        EXPECT_EQ(laptop.Call(4).text, Result(Bool(supported(L"blurSupported"))));
        EXPECT_EQ(laptop.Call(5).text, Result(Bool(supported(L"blurSupported") && supported(L"blur"))));
        EXPECT_EQ(laptop.Call(7).text, Result(Bool(supported(L"autoFrameSupported"))));
        EXPECT_EQ(laptop.Call(8).text, Result(Bool(supported(L"autoFrameSupported") && supported(L"autoFrame"))));
        EXPECT_EQ(laptop.Call(10).text,
                  Result(supported(L"brightnessSupported") ? Int(At(*camera, L"brightness")) : L"-1"));
    }

    // Audio (41, 42, 44): the endpoints in order, the default one's mute state and volume.
    for (const auto& [flow, list] : {std::pair{0, L"RenderDeviceList"}, std::pair{1, L"CaptureDeviceList"}}) {
        const Json::Value* section = At(profile, flow == 0 ? L"audio/playback" : L"audio/recording");
        const Json::Value& endpoints = *At(*section, L"endpoints");
        const Json::Value* position = At(*section, L"default");
        std::wstring expected = L"{\"" + std::wstring(list) + L"\":[";
        for (rapidjson::SizeType i = 0; i < endpoints.Size(); ++i) {
            const std::wstring name(endpoints[i][L"name"].GetString(), endpoints[i][L"name"].GetStringLength());
            std::wstring id;
            for (wchar_t c : std::wstring(endpoints[i][L"id"].GetString(), endpoints[i][L"id"].GetStringLength()))
                id += c == L'\\' ? L"\\\\" : std::wstring(1, c);
            expected += (i == 0 ? L"" : L",") + std::wstring(L"{\"name\":\"") + name + L"\",\"description\":\"" + name +
                        L"\",\"swdMMDevApiId\":\"" + id + L"\",\"sEndpointId\":\"" + id + L"\",\"isDefaultDevice\":" +
                        Bool(!position->IsNull() && position->GetInt64() == i) + L"}";
        }
        const std::wstring request = L"{\"dataFlow\":" + std::to_wstring(flow) + L"}";
        EXPECT_EQ(laptop.Call(41, request).text, Result(expected + L"]}")) << flow;
        if (position->IsNull()) {
            EXPECT_EQ(laptop.Call(42, request), (Answer{0x20000002, L"{}"})) << flow;
            EXPECT_EQ(laptop.Call(44, request).text, Result(L"-1")) << flow;
        } else {
            const Json::Value& chosen = endpoints[static_cast<rapidjson::SizeType>(position->GetInt64())];
            EXPECT_EQ(laptop.Call(42, request).text, Result(Bool(chosen[L"muted"].GetBool()))) << flow;
            EXPECT_EQ(laptop.Call(44, request).text, Result(std::to_wstring(chosen[L"volume"].GetInt()))) << flow;
        }
    }

    // Display (61-77): the library's settings before the portrait check, as a client asks them.
    const Json::Value* brightness = At(profile, L"display/brightness");
    EXPECT_EQ(laptop.Call(61).text, Result(brightness->IsNull() ? L"-1" : Int(brightness)));
    const Json::Value* hdr = At(profile, L"display/hdr");
    EXPECT_EQ(laptop.Call(63).text, Result(Bool(!hdr->IsNull())));
    EXPECT_EQ(laptop.Call(64).text, Result(Bool(!hdr->IsNull() && At(*hdr, L"on")->GetBool())));
    const Json::Value* library = At(profile, L"display/library");
    // The module takes only version 5 or later of the vendor's service.
    const bool usable = !library->IsNull() && At(*library, L"serviceVersion")->GetInt() >= 5 &&
                        At(*library, L"platformSupported")->GetBool();
    if (usable) {
        const Json::Value& schedule = *At(*library, L"schedule");
        EXPECT_EQ(laptop.Call(69).text, Result(Ints(At(*library, L"inputSources"))));
        EXPECT_EQ(laptop.Call(70).text, Result(Int(At(*library, L"inputSource"))));
        EXPECT_EQ(laptop.Call(72).text,
                  Result(L"{\"Status\":" + Bool(schedule[L"on"].GetBool()) + L",\"Mode\":" + Int(&schedule[L"mode"]) +
                         L",\"StartHour\":" + Int(&schedule[L"startHour"]) + L",\"StartMinute\":" +
                         Int(&schedule[L"startMinute"]) + L",\"EndHour\":" + Int(&schedule[L"endHour"]) +
                         L",\"EndMinute\":" + Int(&schedule[L"endMinute"]) + L"}"));
        EXPECT_EQ(laptop.Call(74).text, Result(L"{\"Supported\":true,\"RedGain\":" + Int(At(*library, L"gains/red")) +
                                               L",\"GreenGain\":" + Int(At(*library, L"gains/green")) +
                                               L",\"BlueGain\":" + Int(At(*library, L"gains/blue")) + L"}"));
        EXPECT_EQ(laptop.Call(77).text, Result(Int(At(*library, L"contrast"))));
    } else {
        EXPECT_EQ(laptop.Call(69).text, Result(L"[]"));
        EXPECT_EQ(laptop.Call(70).text, Result(L"-1"));
        EXPECT_EQ(laptop.Call(72).text, Result(L"{}"));
        EXPECT_EQ(laptop.Call(74).text, Result(L"{}"));
        EXPECT_EQ(laptop.Call(77).text, Result(L"-1"));
    }
    // The presets are there when the vendor's software is usable and the panel has some.
    const Json::Value* portrait = At(profile, L"display/portrait");
    const bool presets = usable && !portrait->IsNull();
    EXPECT_EQ(laptop.Call(76).text, Result(Bool(usable)));
    EXPECT_EQ(laptop.Call(66).text, Result(presets ? Ints(At(*portrait, L"supportedModes")) : L"[]"));
    EXPECT_EQ(laptop.Call(67).text, Result(presets ? Int(At(*portrait, L"mode")) : L"-1"));

    // The mouse, power modes, toasts.
    EXPECT_EQ(laptop.Call(91).text, Result(Int(At(profile, L"mouse/speed"))));
    EXPECT_EQ(laptop.Call(101).text, Result(Bool(At(profile, L"power/modesAvailable")->GetBool())));
    EXPECT_EQ(laptop.Call(102).text, Result(Int(At(profile, L"power/mode"))));
    EXPECT_EQ(laptop.Call(121).text, Result(Bool(At(profile, L"toasts/enabled")->GetBool())));

    // Firmware system modes: the feature code "r4" at a code position says the machine has them.
    const std::wstring features(At(profile, L"machine/featureString")->GetString());
    bool systemModes = false;
    for (size_t i = 0; i + 1 < features.size(); i += 2) systemModes = systemModes || features.compare(i, 2, L"r4") == 0;
    EXPECT_EQ(laptop.Call(131).text, Result(Bool(systemModes)));

    // What the module tells of the machine.
    wchar_t summary[1024] = {};
    ASSERT_GT(QVDescribeDevice(summary, 1024), 0u);
    const std::wstring described = summary;
    for (const wchar_t* key : {L"hostName", L"productName", L"productNumber", L"serialNumber"}) {
        const Json::Value* value = At(profile, std::wstring(L"machine/") + key);
        EXPECT_NE(described.find(L"\"" + std::wstring(key) + L"\":\"" + value->GetString() + L"\""), std::wstring::npos)
            << Core::Narrow(key) << " in " << Core::Narrow(described);
    }
}

INSTANTIATE_TEST_SUITE_P(Profiles, ProfileAnswers,
                         ::testing::Values("full-featured-laptop.json", "desktop.json", "outdated-display-library.json",
                                           "other-audio-vendor.json"),
                         [](const auto& info) {
                             std::string name = info.param;
                             name = name.substr(0, name.find('.'));
                             for (char& c : name) c = c == '-' ? '_' : c;
                             return name;
                         });

// The text of a profile with `from` replaced by `to` once.
std::string Changed(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

TEST(DeviceProfileTest, AValueChangedInTheFileIsAnswered) {
    std::string text = ProfileText("full-featured-laptop.json");
    text = Changed(text, "\"speed\": 10", "\"speed\": 17");
    text = Changed(text, "\"contrast\": 50", "\"contrast\": 35");
    text = Changed(text, "\"brightness\": 60", "\"brightness\": 25");
    text = Changed(text, "\"volume\": 80", "\"volume\": 12");
    Laptop laptop(text);
    EXPECT_EQ(laptop.Call(91).text, L"{\"result\":17}");
    EXPECT_EQ(laptop.Call(77).text, L"{\"result\":35}");
    EXPECT_EQ(laptop.Call(61).text, L"{\"result\":25}");
    EXPECT_EQ(laptop.Call(44, L"{\"dataFlow\":1}").text, L"{\"result\":12}");
}

TEST(DeviceProfileTest, ASetterChangesTheSimulatedStateAndTheGetterReadsItBack) {
    Laptop laptop(ProfileText("full-featured-laptop.json"));
    EXPECT_EQ(laptop.Call(92, L"{\"IValue\":5}").text, L"{\"result\":true}");
    EXPECT_EQ(laptop.Call(91).text, L"{\"result\":5}");
    EXPECT_EQ(laptop.Call(78, L"{\"IValue\":70}").text, L"{\"result\":true}");
    EXPECT_EQ(laptop.Call(77).text, L"{\"result\":70}");
    EXPECT_EQ(laptop.Call(45, L"{\"dataFlow\":0,\"volume\":33}").text, L"{\"result\":true}");
    EXPECT_EQ(laptop.Call(44, L"{\"dataFlow\":0}").text, L"{\"result\":33}");
    EXPECT_EQ(laptop.Call(103, L"{\"IValue\":2}").text, L"{\"result\":true}");
    EXPECT_EQ(laptop.Call(102).text, L"{\"result\":2}");
    EXPECT_EQ(laptop.Call(3, L"{\"IValue\":250}").text, L"{\"result\":true}");
    EXPECT_EQ(laptop.Call(2).text, L"{\"result\":250}");
}

TEST(DeviceProfileTest, WhatNoGetterReadsIsArrangedToo) {
    // The other audio vendor's laptop: charging at 81 %, memory load 30, 55, then 90 %, board
    // 8A3F, the companion app 3.1.0.0, system mode byte 4.
    Laptop laptop(ProfileText("other-audio-vendor.json"));
    auto& battery = Sim::SimulatedBattery(laptop.Device());
    EXPECT_EQ(*battery.BatteryStatus(), 3);
    EXPECT_EQ(*battery.RemainingChargePercent(), 81);
    auto& memory = Sim::SimulatedMemory(laptop.Device());
    for (uint32_t load : {30u, 55u, 90u, 90u}) EXPECT_EQ(*memory.MemoryLoad(), load);
    EXPECT_EQ(laptop.Device().SimulatedWmi().Firmware().systemMode, 4);
    wchar_t launch[1024] = {};
    ASSERT_GT(QVDescribeLaunch(nullptr, launch, 1024), 0u);
    const std::wstring described = launch;
    EXPECT_NE(described.find(L"\"board\":\"8A3F\""), std::wstring::npos) << Core::Narrow(described);
    EXPECT_NE(described.find(L"\"package\":\"5E0C2A91.LumenCenter_3.1.0.0_x64__k4m2x9trq7bw3\""), std::wstring::npos)
        << Core::Narrow(described);

    // The desktop: no battery to report, no companion app, no firmware command channel.
    Laptop desktop(ProfileText("desktop.json"));
    EXPECT_EQ(*Sim::SimulatedBattery(desktop.Device()).BatteryStatus(), 0);
    EXPECT_FALSE(desktop.Device().SimulatedWmi().Firmware().present);
    ASSERT_GT(QVDescribeLaunch(nullptr, launch, 1024), 0u);
    EXPECT_NE(std::wstring(launch).find(L"\"package\":\"\""), std::wstring::npos) << Core::Narrow(launch);
}

TEST(DeviceProfileTest, ABrokenProfileIsRefusedWithTheMembersPathAndChangesNothing) {
    const std::string full = ProfileText("full-featured-laptop.json");
    const std::pair<std::string, std::string> broken[] = {
        {Changed(full, "\"contrast\": 50", "\"contrast\": 101"), "/display/library/contrast: 101 is above the maximum 100"},
        {Changed(full, "\"zoom\": 100", "\"zoom\": 99"), "/camera/zoom: 99 is below the minimum 100"},
        {Changed(full, "\"speed\": 10", "\"speed\": \"fast\""), "/mouse/speed: expected integer, found \"fast\""},
        {Changed(full, "\"blur\": false", "\"focus\": false"), "/camera/focus: not a member of this profile"},
        {Changed(full, "\"vendor\": \"realtek\"", "\"vendor\": \"acme\""),
         "/audio/vendor: \"acme\" is not one of \"realtek\", \"qualcomm\", \"none\""},
        {Changed(full, "\"mode\": 1\n  }", "\"mode\": 3\n  }"), "/power/mode: 3 is not one of 0, 1, 2"},
        {Changed(full, "\"name\": \"Full-featured laptop\",", ""), "/name: required, and missing"},
        {Changed(full, "\"id\": \"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.1", "\"Xid\": \"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.1"),
         "/audio/recording/endpoints/0/id: required, and missing"},
        {Changed(full, "\"inputSources\": [", "\"inputSources\": [1, 2, 3, 4, 5, 6, 7, 8, "),
         "/display/library/inputSources: more than 10 items"},
        {Changed(Changed(full, "\"default\": 0", "\"default\": 0"), "\"default\": 0\n    },\n    \"vendor\"",
                 "\"default\": 1\n    },\n    \"vendor\""),
         "/audio/recording/default: there is no endpoint at 1"},
        {"{\"name\": \"x\", ", "/: the profile is not JSON"},
        {"[]", "/: expected object, found []"},
    };
    for (const auto& [text, reason] : broken) {
        Sim::SimDevice device;
        Profile::PrepareLaptop(device);
        EXPECT_EQ(Profile::ApplyProfile(text, device), reason);
        // Nothing of the profile reached the device.
        device.WithWorld([](Sim::SimWorld& world) { EXPECT_EQ(world.packages.size(), 1u); });
    }
    Sim::SimDevice device;
    EXPECT_EQ(Profile::ApplyProfileFile("/nonexistent/laptop.json", device), "/nonexistent/laptop.json: the profile cannot be read");
}

TEST(DeviceProfileTest, TheSchemaPromisesNothingItDoesNotCheck) {
    Json::Document schema;
    ASSERT_TRUE(Json::ParseRequest(schema, L"{\"type\":\"object\",\"properties\":{\"a\":{\"pattern\":\"^x\"}}}"));
    Json::Document document;
    ASSERT_TRUE(Json::ParseRequest(document, L"{\"a\":\"y\"}"));
    EXPECT_THROW(Profile::FirstViolation(schema, document), std::logic_error);
}

}  // namespace
}  // namespace Qv::Tests
