#include "profile/DeviceProfile.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "areas/accessory/sim/SimAccessory.h"
#include "areas/audio/RealtekScripts.h"
#include "areas/audio/sim/SimAudio.h"
#include "areas/camera/sim/SimCamera.h"
#include "areas/display/sim/SimDisplay.h"
#include "areas/monitor/sim/SimBattery.h"
#include "areas/monitor/sim/SimMemoryStatus.h"
#include "areas/notification/sim/SimNotification.h"
#include "areas/power/sim/SimPowerApi.h"
#include "core/json.h"
#include "core/strings.h"
#include "profile/JsonSchema.h"
#include "security/Authenticode.h"

namespace Qv::Profile {
namespace {

using Flow = platform::IAudioEndpoints::Flow;

constexpr wchar_t kCompanionFamily[] = L"5E0C2A91.LumenCenter_k4m2x9trq7bw3";
constexpr wchar_t kCimV2[] = L"ROOT\\CIMV2";
constexpr wchar_t kFirmwareNamespace[] = L"ROOT\\QV\\InstrumentedBIOS";
constexpr wchar_t kPanelNamespace[] = L"ROOT\\WMI";

// The system's power-mode overlays: best performance, balanced (none), best power efficiency.
const platform::Guid kOverlays[] = {
    {0xded574b5, 0x45a0, 0x4f42, {0x87, 0x37, 0x46, 0x34, 0x5c, 0x09, 0xc2, 0x38}},
    {},
    {0x961cc777, 0x2547, 0x4f9d, {0x81, 0x74, 0x7d, 0x86, 0x18, 0x1b, 0x8a, 0x7a}},
};

// A section's members, read after the schema has vouched for their types.
class Section {
public:
    explicit Section(const Json::Value* value) : value_(value) {}
    bool Given() const { return value_ != nullptr; }
    bool Null() const { return value_ != nullptr && value_->IsNull(); }
    Section operator[](const wchar_t* key) const {
        return Section(value_ != nullptr && value_->IsObject() ? Json::FindMember(*value_, key) : nullptr);
    }
    const Json::Value& operator*() const { return *value_; }

    template <class T>
    void Into(T& target) const {
        if (value_ == nullptr || value_->IsNull()) return;
        if constexpr (std::is_same_v<T, bool>) target = value_->GetBool();
        else if constexpr (std::is_same_v<T, std::wstring>) target = std::wstring(value_->GetString(), value_->GetStringLength());
        else target = static_cast<T>(value_->GetInt64());
    }
    template <class T>
    void IntoIntegers(std::vector<T>& target) const {
        if (value_ == nullptr || !value_->IsArray()) return;
        target.clear();
        for (const Json::Value& item : value_->GetArray()) target.push_back(static_cast<T>(item.GetInt64()));
    }

private:
    const Json::Value* value_;
};

std::wstring Text(const Section& section) {
    std::wstring text;
    section.Into(text);
    return text;
}

// The device path inside an endpoint id ("\\?\SWD#MMDEVAPI#<path>#{interface}"), as the audio
// vendor's class knows the endpoint.
std::wstring DevicePath(const std::wstring& id) {
    const size_t first = id.find(L'#');
    const size_t second = first == std::wstring::npos ? first : id.find(L'#', first + 1);
    if (second == std::wstring::npos) return id;
    const size_t third = id.find(L'#', second + 1);
    return id.substr(second + 1, third == std::wstring::npos ? std::wstring::npos : third - second - 1);
}

void ApplyMachine(const Section& machine, Sim::SimDevice& device) {
    if (!machine.Given()) return;
    Sim::SimWmi& wmi = device.SimulatedWmi();
    const auto property = [&](const Section& value, const wchar_t* className, const wchar_t* name) {
        if (value.Given()) wmi.SetProperty(kCimV2, className, name, Text(value));
    };
    property(machine[L"hostName"], L"Win32_ComputerSystem", L"DNSHostName");
    property(machine[L"productName"], L"Win32_ComputerSystem", L"Model");
    property(machine[L"productNumber"], L"Win32_ComputerSystem", L"SystemSKUNumber");
    property(machine[L"processor"], L"Win32_Processor", L"Name");
    property(machine[L"serialNumber"], L"Win32_BIOS", L"SerialNumber");
    property(machine[L"board"], L"Win32_BaseBoard", L"Product");
    if (machine[L"memoryModules"].Given()) {
        std::vector<int64_t> modules;
        machine[L"memoryModules"].IntoIntegers(modules);
        std::vector<Sim::SimWmi::Instance> instances;
        for (int64_t bytes : modules) instances.push_back({{L"Capacity", std::to_wstring(bytes)}});
        wmi.SetInstances(kCimV2, L"Win32_PhysicalMemory", std::move(instances));
    }
    const Section features = machine[L"featureString"];
    if (features.Null()) {
        wmi.RemoveNamespace(kFirmwareNamespace);
    } else if (features.Given()) {
        wmi.SetInstances(kFirmwareNamespace, L"QVBIOS_BIOSString",
                         {{{L"Name", std::wstring(L"Feature Byte")}, {L"Value", Text(features)}}});
    }
    Sim::SimFirmware& firmware = wmi.Firmware();
    machine[L"firmwareCommands"].Into(firmware.present);
    machine[L"systemMode"].Into(firmware.systemMode);
    machine[L"featureByte"].Into(firmware.featureByte);
}

void ApplyCamera(const Section& camera, Sim::SimDevice& device) {
    if (!camera.Given()) return;
    device.WithWorld([&](Sim::SimWorld& world) {
        Sim::SimCamera& state = world.tool.Area<Sim::SimCamera>();
        state.present = !camera.Null();
        camera[L"zoomSupported"].Into(state.zoomSupported);
        camera[L"zoom"].Into(state.zoom);
        camera[L"brightnessSupported"].Into(state.brightnessSupported);
        camera[L"brightness"].Into(state.brightness);
        camera[L"blurSupported"].Into(state.blurSupported);
        camera[L"blur"].Into(state.blur);
        camera[L"autoFrameSupported"].Into(state.autoFrameSupported);
        camera[L"autoFrame"].Into(state.autoFrame);
        camera[L"enabled"].Into(state.systemEnabled);
    });
}

void ApplyAudio(const Section& audio, Sim::SimDevice& device) {
    if (!audio.Given()) return;
    auto& endpoints = Sim::SimulatedAudio(device);
    const std::wstring vendor = audio[L"vendor"].Given() ? Text(audio[L"vendor"]) : L"";
    for (const auto& [key, flow] : {std::pair{L"playback", Flow::Render}, std::pair{L"recording", Flow::Capture}}) {
        const Section given = audio[key];
        Sim::SimAudioEndpoints::FlowState state = endpoints.GetFlow(flow);
        if (given[L"endpoints"].Given()) {
            state.endpoints.clear();
            for (const Json::Value& item : (*given[L"endpoints"]).GetArray()) {
                const Section endpoint(&item);
                Sim::SimAudioEndpoints::Endpoint made;
                endpoint[L"id"].Into(made.id);
                endpoint[L"name"].Into(made.name);
                endpoint[L"muted"].Into(made.muted);
                int volume = static_cast<int>(made.level * 100.0f + 0.5f);
                endpoint[L"volume"].Into(volume);
                made.level = static_cast<float>(volume) / 100.0f;
                state.endpoints.push_back(made);
            }
            if (!given[L"default"].Given() && !state.endpoints.empty()) state.defaultId = state.endpoints.front().id;
        }
        if (given[L"default"].Null()) {
            state.defaultId.clear();
        } else if (given[L"default"].Given()) {
            size_t position = 0;
            given[L"default"].Into(position);  // checked against the endpoints before anything changed
            if (position < state.endpoints.size()) state.defaultId = state.endpoints[position].id;
        }
        state.volumeId = state.defaultId;
        // The other vendor's noise control is a module of the machine's endpoints.
        if (!vendor.empty())
            for (auto& endpoint : state.endpoints) {
                endpoint.modules.clear();
                if (vendor == L"qualcomm") endpoint.modules.insert(Sim::kSimNoiseModuleId);
            }
        endpoints.SetFlow(flow, state);
    }
    const bool realtek = vendor == L"realtek";
    if (!vendor.empty()) {
        auto& services = Sim::SimulatedServices(device);
        if (realtek) services.SetService(Audio::Realtek::kServiceName,
                                         Sim::SimServiceStatus::State::Running);
        else services.RemoveService(Audio::Realtek::kServiceName);
    }
    device.WithWorld([&](Sim::SimWorld& world) {
        Sim::SimRealtek& state = world.tool.Area<Sim::SimRealtek>();
        if (!vendor.empty()) state.installed = realtek;
        audio[L"noiseControl"].Into(state.noiseOn);
        audio[L"speakerSwapSupported"].Into(state.swapSupported);
        audio[L"speakerSwap"].Into(state.swapOn);
        state.devicePaths.clear();
        for (Flow flow : {Flow::Render, Flow::Capture})
            for (const auto& endpoint : endpoints.GetFlow(flow).endpoints) state.devicePaths.insert(DevicePath(endpoint.id));
    });
}

void ApplyDisplay(const Section& display, Sim::SimDevice& device) {
    if (!display.Given()) return;
    Sim::SimWmi& wmi = device.SimulatedWmi();
    const Section brightness = display[L"brightness"];
    if (brightness.Null()) {
        wmi.SetInstances(kPanelNamespace, L"WmiMonitorBrightness", {});
        wmi.SetInstances(kPanelNamespace, L"WmiMonitorBrightnessMethods", {});
    } else if (brightness.Given()) {
        int32_t level = 0;
        brightness.Into(level);
        wmi.SetProperty(kPanelNamespace, L"WmiMonitorBrightness", L"CurrentBrightness", level);
    }
    device.WithWorld([&](Sim::SimWorld& world) {
        Sim::SimDisplayTool& tool = world.tool.Area<Sim::SimDisplayTool>();
        const Section hdr = display[L"hdr"];
        if (hdr.Given()) tool.hdrSupported = !hdr.Null();
        hdr[L"on"].Into(tool.hdrOn);
        // The presets the built-in display offers; null: none (whether the vendor's software is
        // there at all is the library section's).
        const Section portrait = display[L"portrait"];
        if (portrait.Null()) {
            tool.supportedModes.clear();
            tool.displayMode = -1;
        }
        portrait[L"mode"].Into(tool.displayMode);
        portrait[L"supportedModes"].IntoIntegers(tool.supportedModes);
    });
    const Section library = display[L"library"];
    if (!library.Given()) return;
    Sim::SimDisplayControl& control = Sim::SimulatedDisplay(device);
    using FileVersion = platform::IDisplayControl::FileVersion;
    if (library.Null()) {
        control.SetFileVersion(Sim::kSimDisplayServicePath, FileVersion{});
        return;
    }
    if (library[L"serviceVersion"].Given()) {
        FileVersion version;
        version.state = FileVersion::State::Read;
        library[L"serviceVersion"].Into(version.major);
        control.SetFileVersion(Sim::kSimDisplayServicePath, version);
    }
    Sim::SimPanel& panel = control.Panel();
    bool supported = panel.platformSupported == 1;
    library[L"platformSupported"].Into(supported);
    panel.platformSupported = supported ? 1 : 0;
    library[L"inputSources"].IntoIntegers(panel.inputSources);
    library[L"inputSource"].Into(panel.inputSource);
    const Section schedule = library[L"schedule"];
    schedule[L"on"].Into(panel.scheduleOn);
    schedule[L"mode"].Into(panel.scheduleMode);
    schedule[L"startHour"].Into(panel.startHour);
    schedule[L"startMinute"].Into(panel.startMinute);
    schedule[L"endHour"].Into(panel.endHour);
    schedule[L"endMinute"].Into(panel.endMinute);
    if (library[L"gainsSupported"].Given()) {
        bool gains = false;
        library[L"gainsSupported"].Into(gains);
        constexpr int32_t kGainsFeature = 0x10;  // the panel's feature bit for colour gains
        panel.features = gains ? (panel.features | kGainsFeature) : (panel.features & ~kGainsFeature);
    }
    library[L"gains"][L"red"].Into(panel.red);
    library[L"gains"][L"green"].Into(panel.green);
    library[L"gains"][L"blue"].Into(panel.blue);
    library[L"contrast"].Into(panel.contrast);
}

void ApplyRest(const Json::Value& profile, Sim::SimDevice& device) {
    const Section root(&profile);
    device.WithWorld([&](Sim::SimWorld& world) {
        Sim::SimMouse& mouse = world.tool.Area<Sim::SimMouse>();
        root[L"mouse"][L"speed"].Into(mouse.mouseSpeed);
        root[L"mouse"][L"buttonsSwapped"].Into(mouse.buttonsSwapped);
        root[L"toasts"][L"enabled"].Into(world.tool.Area<Sim::SimToasts>().toastEnabled);
    });

    const Section power = root[L"power"];
    auto& api = Sim::SimulatedPower(device);
    if (power[L"modesAvailable"].Given()) {
        bool available = true;
        power[L"modesAvailable"].Into(available);
        api.SetFunctions({available, available, available, available});
    }
    bool onMains = true;
    power[L"onMains"].Into(onMains);
    if (power[L"onMains"].Given()) api.SetAcLineStatus(onMains ? 1 : 0);
    if (power[L"mode"].Given()) {
        int mode = 1;
        power[L"mode"].Into(mode);
        api.SetOverlay(onMains, kOverlays[mode]);
    }

    const Section battery = root[L"battery"];
    if (battery.Null()) {
        Sim::SimulatedBattery(device).Change(platform::IBattery::NotPresent, 100);
    } else if (battery.Given()) {
        int32_t status = platform::IBattery::Discharging;
        int32_t charge = 64;
        battery[L"status"].Into(status);
        battery[L"charge"].Into(charge);
        Sim::SimulatedBattery(device).Change(status, charge);
    }

    if (root[L"memory"][L"loadSteps"].Given()) {
        std::vector<uint32_t> steps;
        root[L"memory"][L"loadSteps"].IntoIntegers(steps);
        Sim::SimulatedMemory(device).SetMemoryLoadSteps(std::move(steps));
    }

    const Section companion = root[L"companion"];
    if (!companion.Given()) return;
    device.WithWorld([&](Sim::SimWorld& world) {
        world.packages.clear();
        if (companion.Null()) return;
        std::wstring version = L"1.0.0.0";
        companion[L"version"].Into(version);
        world.packages.push_back({Sim::SimStorePackages::Package(Text(companion[L"familyName"]), version),
                                  {{world.userSecurityId, 2}}});
    });
}

}  // namespace

void PrepareLaptop(Sim::SimDevice& device) {
    const auto& trusted = Bridge::Security::TrustTables::Builtin().main;
    if (!trusted.empty()) {
        const auto key = Bridge::Security::ParsePublicKey(trusted.front().publicKey);
        device.InstallTool(key);
        device.InstallSigned(L"QVDC.dll", key);
    }
    device.WithWorld([](Sim::SimWorld& world) {
        world.packages.push_back(
            {Sim::SimStorePackages::Package(kCompanionFamily, L"3.1.0.0"), {{world.userSecurityId, 2}}});
    });
    const std::string refused = ApplyProfile(FullFeaturedLaptopText(), device);
    if (!refused.empty()) throw std::logic_error("the full-featured laptop's profile is refused: " + refused);
}

std::string ApplyProfile(const std::string& text, Sim::SimDevice& device) {
    Json::Document schema;
    if (!Json::ParseRequest(schema, Core::Widen(SchemaText()).c_str())) throw std::logic_error("the profile schema is not JSON");
    const std::wstring wide = Core::Widen(text);
    Json::Document profile;
    if (!Json::ParseRequest(profile, wide.c_str())) return "/: the profile is not JSON";
    std::string violation = FirstViolation(schema, profile);
    if (!violation.empty()) return violation;
    // Cross-member rules the schema cannot state are checked before anything changes.
    for (const wchar_t* flow : {L"playback", L"recording"}) {
        const Section given = Section(&profile)[L"audio"][flow];
        if (!given[L"default"].Given() || given[L"default"].Null()) continue;
        size_t endpoints = Sim::SimulatedAudio(device).GetFlow(flow == std::wstring(L"playback") ? Flow::Render : Flow::Capture)
                               .endpoints.size();
        if (given[L"endpoints"].Given()) endpoints = (*given[L"endpoints"]).Size();
        if (static_cast<size_t>((*given[L"default"]).GetInt64()) >= endpoints)
            return "/audio/" + Core::Narrow(flow) + "/default: there is no endpoint at " +
                   std::to_string((*given[L"default"]).GetInt64());
    }
    const Section root(&profile);
    ApplyMachine(root[L"machine"], device);
    ApplyCamera(root[L"camera"], device);
    ApplyAudio(root[L"audio"], device);
    ApplyDisplay(root[L"display"], device);
    ApplyRest(profile, device);
    return {};
}

std::string ApplyProfileFile(const std::string& path, Sim::SimDevice& device) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return path + ": the profile cannot be read";
    std::ostringstream text;
    text << file.rdbuf();
    return ApplyProfile(text.str(), device);
}

}  // namespace Qv::Profile
