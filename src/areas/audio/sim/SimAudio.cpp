#include "areas/audio/sim/SimAudio.h"

#include <cwchar>

#include "areas/audio/RealtekScripts.h"
#include "core/strings.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kInvalidArgument = static_cast<int32_t>(0x80070057);
constexpr int32_t kNotFound = static_cast<int32_t>(0x80070490);  // E_NOTFOUND: no endpoint of that role
constexpr int32_t kServiceDoesNotExist = 1060;
constexpr int32_t kAccessDenied = 5;

int Index(platform::IAudioEndpoints::Flow flow) { return flow == platform::IAudioEndpoints::Flow::Capture ? 1 : 0; }

}  // namespace

// One call's volume control: it counts as open until released, as COM would hold it.
class SimAudioEndpoints::Volume final : public IVolume {
public:
    Volume(SimAudioEndpoints& owner, Flow flow, bool comReady) : owner_(owner), flow_(flow), comReady_(comReady) {
        std::lock_guard<std::mutex> lock(owner_.mutex_);
        ++owner_.openVolumes_;
    }
    ~Volume() override {
        std::lock_guard<std::mutex> lock(owner_.mutex_);
        --owner_.openVolumes_;
    }
    bool ComReady() const override { return comReady_; }
    platform::Result<bool> GetMute() override {
        return With([](Endpoint& endpoint) -> platform::Result<bool> { return endpoint.muted; });
    }
    platform::Result<void> SetMute(bool mute) override {
        return With([mute](Endpoint& endpoint) -> platform::Result<void> {
            endpoint.muted = mute;
            return platform::Success();
        });
    }
    platform::Result<float> GetMasterScalar() override {
        return With([](Endpoint& endpoint) -> platform::Result<float> { return endpoint.level; });
    }
    platform::Result<void> SetMasterScalar(float level) override {
        return With([level](Endpoint& endpoint) -> platform::Result<void> {
            if (!(level >= 0.0f && level <= 1.0f)) return platform::Failure{kInvalidArgument};
            endpoint.level = level;
            return platform::Success();
        });
    }

private:
    template <class Body>
    auto With(Body body) -> decltype(body(std::declval<Endpoint&>())) {
        QV_SIM_FAULT(owner_.faults_, AudioEndpoints);
        std::lock_guard<std::mutex> lock(owner_.mutex_);
        Endpoint* endpoint = owner_.Find(flow_, owner_.flows_[Index(flow_)].volumeId);
        if (endpoint == nullptr) return platform::Failure{kNotFound};
        return body(*endpoint);
    }

    SimAudioEndpoints& owner_;
    Flow flow_;
    bool comReady_;
};

SimAudioEndpoints::SimAudioEndpoints(SimFaults& faults) : faults_(faults) {
    FlowState& render = flows_[0];
    render.endpoints = {{kSimSpeakersId, L"Speakers (High Definition Audio)", false, 0.5f,
                         {kSimNoiseModuleId}},
                        {kSimHeadphonesId, L"Headphones (High Definition Audio)", false, 0.3f, {}}};
    render.defaultId = render.volumeId = kSimSpeakersId;
    FlowState& capture = flows_[1];
    capture.endpoints = {{kSimMicrophoneId, L"Microphone Array (High Definition Audio)", false, 0.8f,
                          {kSimNoiseModuleId}}};
    capture.defaultId = capture.volumeId = kSimMicrophoneId;
}

SimAudioEndpoints::Endpoint* SimAudioEndpoints::Find(Flow flow, const std::wstring& id) {
    for (Endpoint& endpoint : flows_[Index(flow)].endpoints)
        if (endpoint.id == id) return &endpoint;
    return nullptr;
}

platform::Result<std::vector<platform::IAudioEndpoints::Device>> SimAudioEndpoints::FindAll(Flow flow) {
    QV_SIM_FAULT(faults_, AudioEndpoints);
    std::lock_guard<std::mutex> lock(mutex_);
    if (enumerationFailure_ != 0) return platform::Failure{enumerationFailure_};
    std::vector<Device> devices;
    for (const Endpoint& endpoint : flows_[Index(flow)].endpoints) devices.push_back({endpoint.id, endpoint.name});
    return devices;
}

platform::Result<std::wstring> SimAudioEndpoints::DefaultId(Flow flow) {
    QV_SIM_FAULT(faults_, AudioEndpoints);
    std::lock_guard<std::mutex> lock(mutex_);
    if (defaultIdFailure_ != 0) return platform::Failure{defaultIdFailure_};
    return flows_[Index(flow)].defaultId;  // empty when the flow has no device
}

std::unique_ptr<platform::IAudioEndpoints::IVolume> SimAudioEndpoints::OpenDefaultVolume(Flow flow) {
    // A failed COM initialisation is the one way the opening fails.
    if (faults_.Enter(SimPort::AudioEndpoints)) return std::make_unique<Volume>(*this, flow, false);
    bool comReady = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        comReady = comInitFailure_ == 0;
    }
    return std::make_unique<Volume>(*this, flow, comReady);
}

platform::Result<platform::IAudioEndpoints::ModuleAnswer> SimAudioEndpoints::SendModuleCommand(
    Flow flow, const std::wstring& moduleId, std::span<const uint8_t> payload) {
    QV_SIM_FAULT(faults_, AudioEndpoints);
    std::lock_guard<std::mutex> lock(mutex_);
    if (modulesFailure_ != 0) return platform::Failure{modulesFailure_};
    const std::wstring defaultId = flows_[Index(flow)].defaultId;
    Endpoint* endpoint = Find(flow, defaultId);
    if (endpoint == nullptr) return platform::Failure{kNotFound};
    if (endpoint->modules.count(moduleId) == 0) return ModuleAnswer::NoModule;
    sent_.Add({flow, defaultId, moduleId, std::vector<uint8_t>(payload.begin(), payload.end())});
    return moduleRefuses_ ? ModuleAnswer::Refused : ModuleAnswer::Succeeded;
}

void SimAudioEndpoints::SetFlow(Flow flow, FlowState state) {
    std::lock_guard<std::mutex> lock(mutex_);
    flows_[Index(flow)] = std::move(state);
}

SimAudioEndpoints::FlowState SimAudioEndpoints::GetFlow(Flow flow) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return flows_[Index(flow)];
}

void SimAudioEndpoints::SetEnumerationFailure(int32_t hresult) {
    std::lock_guard<std::mutex> lock(mutex_);
    enumerationFailure_ = hresult;
}

void SimAudioEndpoints::SetDefaultIdFailure(int32_t hresult) {
    std::lock_guard<std::mutex> lock(mutex_);
    defaultIdFailure_ = hresult;
}

void SimAudioEndpoints::SetComInitFailure(int32_t hresult) {
    std::lock_guard<std::mutex> lock(mutex_);
    comInitFailure_ = hresult;
}

void SimAudioEndpoints::SetModulesFailure(int32_t hresult) {
    std::lock_guard<std::mutex> lock(mutex_);
    modulesFailure_ = hresult;
}

void SimAudioEndpoints::SetModuleRefuses(bool refuses) {
    std::lock_guard<std::mutex> lock(mutex_);
    moduleRefuses_ = refuses;
}

std::vector<SimAudioEndpoints::SentCommand> SimAudioEndpoints::SentCommands() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sent_.Items();
}

int SimAudioEndpoints::OpenVolumes() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return openVolumes_;
}

platform::Result<bool> SimServiceStatus::IsRunning(const std::wstring& name) {
    QV_SIM_FAULT(faults_, ServiceStatus);
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = services_.find(Lower(name));
    if (found == services_.end()) return platform::Failure{kServiceDoesNotExist};
    if (found->second == State::Unreadable) return platform::Failure{kAccessDenied};
    return found->second == State::Running;
}

void SimServiceStatus::SetService(const std::wstring& name, State state) {
    std::lock_guard<std::mutex> lock(mutex_);
    services_[Lower(name)] = state;
}

void SimServiceStatus::RemoveService(const std::wstring& name) {
    std::lock_guard<std::mutex> lock(mutex_);
    services_.erase(Lower(name));
}

namespace {

// The number that follows `marker` in `script` (one digit), or -1.
int ValueAfter(const std::wstring& script, const wchar_t* marker) {
    const size_t at = script.find(marker);
    const size_t digit = at == std::wstring::npos ? at : at + std::wcslen(marker);
    if (digit >= script.size() || (script[digit] != L'0' && script[digit] != L'1')) return -1;
    return script[digit] - L'0';
}

// powershell.exe -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command <script>, for the
// vendor's class. Started any other way it is not the service's.
SimRun PowerShell(SimWorld& world, const std::vector<std::wstring>& args) {
    if (args.size() < 7 || args[1] != L"-NoProfile" || args[2] != L"-NonInteractive" || args[3] != L"-ExecutionPolicy" ||
        args[4] != L"Bypass" || args[5] != L"-Command")
        return UnknownPowerShellScript();
    std::wstring script;
    for (size_t i = 6; i < args.size(); ++i) script += (i > 6 ? L" " : L"") + args[i];
    SimRealtek& realtek = world.tool.Area<SimRealtek>();
    const std::wstring pathMarker = L"$DevicePathEndpointId = '";
    const size_t pathAt = script.find(pathMarker);
    if (pathAt == std::wstring::npos) return UnknownPowerShellScript();
    if (realtek.hangs) return {0, "", false, /*stalls=*/true};
    std::wstring rest;
    const auto path = PowerShell::ReadQuotedLiteral(script.substr(pathAt + pathMarker.size()), &rest);
    if (!path || !rest.starts_with(L"';$result = Invoke-CimMethod -Namespace 'Root\\RealtekAudio'"))
        return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
    if (!realtek.installed || realtek.devicePaths.count(*path) == 0)
        return {0, "Exception thrown\r\nInvoke-CimMethod : Invalid namespace\r\n"};

    if (script.find(L"$SRV_CMD_Set_RtkAINRForQv = [UInt32]0x100002A2") != std::wstring::npos) {
        const int value = ValueAfter(script, L"Command = $SRV_CMD_Set_RtkAINRForQv;Index = 0;InValue =");
        if (value < 0) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        realtek.calls.Add(L"SetAINR " + *path + L" " + std::to_wstring(value));
        if (!realtek.noiseSupported) return {0, "Not Support AINR Feature\r\n"};
        realtek.noiseOn = value == 1;
        return {0, std::string("Result: ServiceCommandStaticMethod\r\nAINR Feature Toggle Success. Set to:") +
                       (value == 1 ? "Enabled" : "Disabled") + "\r\n"};
    }
    if (script.find(L"$SRV_CMD_Get_Support_Speaker_Swap = [UInt32]0x10000292") != std::wstring::npos) {
        realtek.calls.Add(L"GetSwapSupport " + *path);
        return {0, realtek.swapSupported ? "Supported\r\n" : "Not Possible\r\n"};
    }
    if (script.find(L"$SRV_CMD_Set_Speaker_Swap_Status = [UInt32]0x10000294") != std::wstring::npos) {
        const int value = ValueAfter(script, L"InValue=");
        if (value < 0) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        realtek.calls.Add(L"SetSwap " + *path + L" " + std::to_wstring(value));
        if (!realtek.swapSupported) return {0, "Exception thrown\r\n"};
        realtek.swapOn = value == 1;
        // The class answers the new state: 0 reads as "Disabled".
        return {0, realtek.swapOn ? "Speaker Swap Enabled\r\n" : "Speaker Swap Disabled\r\n"};
    }
    return UnknownPowerShellScript();
}

}  // namespace

SimArea AudioSimArea() {
    static const SimProgram programs[] = {{L"powershell.exe", &PowerShell}};
    return {{}, programs};
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IAudioEndpoints> Qv::platform::IAudioEndpoints::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimAudioEndpoints>(Qv::Sim::FaultsOf(platform));
}

std::shared_ptr<Qv::platform::IServiceStatus> Qv::platform::IServiceStatus::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimServiceStatus>(Qv::Sim::FaultsOf(platform));
}
