#include "areas/audio/AudioHelper.h"

#include <cmath>
#include <cstdio>
#include <system_error>

#include "areas/audio/IAudioEndpoints.h"
#include "areas/audio/IServiceStatus.h"
#include "areas/audio/RealtekScripts.h"
#include "core/status.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

using platform::IAudioEndpoints;
using Flow = IAudioEndpoints::Flow;

// The other vendor's noise-control module, and its command: 4, 1, then 1 (on) or 0 (off), each a
// little-endian 32-bit integer.
constexpr wchar_t kNoiseModuleId[] = L"{CC962E46-3072-4CCF-B4B7-12DEF8EBB192}";
constexpr uint32_t kNoiseCommand[] = {4, 1};

// How long PowerShell is given, and how much of what it prints is read.
constexpr uint32_t kPowerShellWaitMs = 5000;
constexpr size_t kPowerShellReadBytes = 4095;

constexpr AudioHelper::PowerShellTexts kNoiseTexts{
    L"RTKToggleNoiseControl: Failed to create pipe.", L"RTKToggleNoiseControl: Failed to create PowerShell process.",
    L"RTKToggleNoiseControl: PowerShell wrote nothing in 5 seconds and was ended."};
// Speaker swap runs its scripts as noise control does, with the same texts.
constexpr const AudioHelper::PowerShellTexts& kSwapSupportTexts = kNoiseTexts;
constexpr const AudioHelper::PowerShellTexts& kSwapTexts = kNoiseTexts;

IAudioEndpoints& Endpoints() { return platform::Current().AreaPort<IAudioEndpoints>(); }

Flow ToFlow(int dataFlow) { return dataFlow == 1 ? Flow::Capture : Flow::Render; }

const Json::Value* Member(Json::Document* request, const wchar_t* key) {
    return request != nullptr ? Json::FindMember(*request, key) : nullptr;
}

// A required switch: present and not null; on only for the literal true.
bool ReadEnable(Json::Document* request, bool& enable) {
    const Json::Value* member = Member(request, L"enable");
    if (member == nullptr || member->IsNull()) return false;
    enable = member->IsTrue();
    return true;
}

std::string Hex(int32_t status) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
    return text;
}

void AddResult(Json::Document* response, bool value) {
    response->AddMember(L"result", value, response->GetAllocator());
}

std::vector<uint8_t> NoisePayload(bool enable) {
    std::vector<uint8_t> payload;
    const uint32_t words[] = {kNoiseCommand[0], kNoiseCommand[1], enable ? 1u : 0u};
    for (uint32_t word : words)
        for (int shift = 0; shift < 32; shift += 8) payload.push_back(static_cast<uint8_t>(word >> shift));
    return payload;
}

}  // namespace

AudioHelper* AudioHelper::GetInstance() {
    static AudioHelper instance;
    return &instance;
}

AudioHelper::AudioHelper() { logger_ = Logging::LogManager::GetSystemInformationLogger(); }

bool AudioHelper::CheckInputDataFlow(Document* request, int& dataFlow) {
    const Json::Value* member = Member(request, L"dataFlow");
    if (member == nullptr || member->IsNull()) return false;
    // Only a JSON integer that fits in 32 bits is a data flow; anything else cannot be 0 or 1.
    if (!member->IsInt()) return false;
    dataFlow = member->GetInt();
    return dataFlow == 0 || dataFlow == 1;
}

// --- The device list ---

int AudioHelper::GetAudioDeviceList(int dataFlow, bool filterDefault, Document* response) {
    IAudioEndpoints& endpoints = Endpoints();
    const Flow flow = ToFlow(dataFlow);
    const auto devices = endpoints.FindAll(flow);
    if (!devices)
        throw std::system_error(devices.Status(), std::system_category(),
                                "AudioHelper::GetAudioDeviceList - device enumeration failed, HRESULT " + Hex(devices.Status()));
    const auto defaultId = endpoints.DefaultId(flow);
    if (!defaultId)
        throw std::system_error(defaultId.Status(), std::system_category(),
                                "AudioHelper::GetAudioDeviceList - default device id failed, HRESULT " + Hex(defaultId.Status()));

    auto& allocator = response->GetAllocator();
    Json::Value list(rapidjson::kArrayType);
    int defaultIndex = -1;
    for (const IAudioEndpoints::Device& device : *devices) {
        Json::Value entry(rapidjson::kObjectType);
        entry.AddMember(L"name", Json::Value(device.name.c_str(), allocator), allocator);
        entry.AddMember(L"description", Json::Value(device.name.c_str(), allocator), allocator);
        entry.AddMember(L"swdMMDevApiId", Json::Value(device.id.c_str(), allocator), allocator);
        entry.AddMember(L"sEndpointId", Json::Value(device.id.c_str(), allocator), allocator);
        const bool isDefault = device.id == *defaultId;
        entry.AddMember(L"isDefaultDevice", isDefault, allocator);
        list.PushBack(entry, allocator);
        if (isDefault) defaultIndex = static_cast<int>(list.Size()) - 1;
    }
    if (!filterDefault) {
        Json::Value result(rapidjson::kObjectType);
        const int count = static_cast<int>(list.Size());
        result.AddMember(Json::Value(rapidjson::StringRef(dataFlow == 0 ? L"RenderDeviceList" : L"CaptureDeviceList")), list,
                         allocator);
        response->AddMember(L"result", result, allocator);
        return count;
    }
    if (defaultIndex < 0) {
        response->AddMember(L"result", Json::Value(), allocator);
        return 0;
    }
    response->AddMember(L"result", list[static_cast<rapidjson::SizeType>(defaultIndex)], allocator);
    return 1;
}

int AudioHelper::GetAudioDeviceList(Document* request, Document* response) {
    int dataFlow = -1;
    if (!CheckInputDataFlow(request, dataFlow)) return Status::kArgumentCheckFailed;
    const Json::Value* filter = Member(request, L"filterDefault");
    GetAudioDeviceList(dataFlow, filter != nullptr && filter->IsTrue(), response);
    return Status::kSuccess;
}

// --- Mute and volume of the default endpoint ---

int AudioHelper::IsAudioDeviceMuted(int dataFlow) {
    auto volume = Endpoints().OpenDefaultVolume(ToFlow(dataFlow));
    if (!volume->ComReady()) {
        logger_->LogError(L"AudioHelper::IsAudioDeviceMuted CoInitialize failed");
        return -1;
    }
    const auto muted = volume->GetMute();
    return muted ? (*muted ? 1 : 0) : -1;
}

bool AudioHelper::MuteAudioDevice(int dataFlow, bool mute) {
    auto volume = Endpoints().OpenDefaultVolume(ToFlow(dataFlow));
    if (!volume->ComReady()) {
        logger_->LogError(L"AudioHelper::MuteAudioDevice CoInitialize failed");
        return false;
    }
    return volume->SetMute(mute).Ok();
}

int AudioHelper::GetAudioVolume(int dataFlow) {
    auto volume = Endpoints().OpenDefaultVolume(ToFlow(dataFlow));
    if (!volume->ComReady()) {
        logger_->LogError(L"AudioHelper::GetAudioVolume CoInitialize failed");
        return -1;
    }
    const auto level = volume->GetMasterScalar();
    if (!level) return -1;
    // In single precision, as the platform gives it: 0.755 becomes 75.5 and so 76.
    const float percent = *level * 100.0f;
    return static_cast<int>(std::lround(percent));
}

bool AudioHelper::SetAudioVolume(int dataFlow, int volume) {
    auto control = Endpoints().OpenDefaultVolume(ToFlow(dataFlow));
    if (!control->ComReady()) {
        logger_->LogError(L"AudioHelper::SetAudioVolume CoInitialize failed");
        return false;
    }
    return control->SetMasterScalar(static_cast<float>(volume / 100.0)).Ok();
}

int AudioHelper::MuteAudioDevice(Document* request, Document* response) {
    int dataFlow = -1;
    bool mute = false;
    if (!CheckInputDataFlow(request, dataFlow) || !ReadEnable(request, mute)) return Status::kArgumentCheckFailed;
    AddResult(response, MuteAudioDevice(dataFlow, mute));
    return Status::kSuccess;
}

int AudioHelper::SetAudioVolume(Document* request, Document* response) {
    int dataFlow = -1;
    if (!CheckInputDataFlow(request, dataFlow)) return Status::kArgumentCheckFailed;
    // Not range-checked: the platform refuses what is not a level. It must be an integer, though.
    const Json::Value* volume = Member(request, L"volume");
    if (volume == nullptr || !volume->IsInt()) return Status::kArgumentCheckFailed;
    AddResult(response, SetAudioVolume(dataFlow, volume->GetInt()));
    return Status::kSuccess;
}

// --- Noise control and speaker swap ---

std::wstring AudioHelper::ExtractDevicePath(const std::wstring& deviceId) {
    const size_t hash = deviceId.rfind(L'#');
    const std::wstring head = hash == std::wstring::npos ? deviceId : deviceId.substr(0, hash);
    const size_t open = head.find(L'{');
    const size_t close = head.rfind(L'}');
    if (open == std::wstring::npos || close == std::wstring::npos || close < open) return L"";
    return head.substr(open, close - open + 1);
}

std::wstring AudioHelper::DefaultDeviceId(int dataFlow) {
    const auto id = Endpoints().DefaultId(ToFlow(dataFlow));
    if (!id) {
        logger_->LogWarning(L"AudioHelper - the default %s device's id could not be read, HRESULT 0x%x",
                            dataFlow == 1 ? L"recording" : L"playback", static_cast<unsigned>(id.Status()));
        return L"";
    }
    return *id;
}

bool AudioHelper::RunPowerShell(const std::wstring& script, const PowerShellTexts& texts, std::string& output,
                                bool* stalled) {
    platform::Platform& platform = platform::Current();
    const std::wstring commandLine =
        L"\"" + platform.Files().SystemFolder() + PowerShell::kBelowSystemFolder + L"\"" + script;
    using Outcome = platform::IProcessLauncher::BoundedRun::Outcome;
    auto run = platform.Processes().RunBounded(commandLine, kPowerShellWaitMs, kPowerShellReadBytes);
    switch (run.outcome) {
        case Outcome::PipeFailed:
            logger_->LogError(L"%s", texts.pipeFailed);
            return false;
        case Outcome::StartFailed:
            logger_->LogError(L"%s", texts.processFailed);
            return false;
        case Outcome::Stalled:
            logger_->LogError(L"%s", texts.stalled);
            if (stalled != nullptr) *stalled = true;
            return false;
        case Outcome::Read:
            break;
    }
    output = std::move(run.output);
    return true;
}

bool AudioHelper::ToggleNoiseControl(int dataFlow, bool enable) {
    int status = 0;
    return ToggleNoiseControl(dataFlow, enable, status);
}

bool AudioHelper::ToggleNoiseControl(int dataFlow, bool enable, int& status) {
    status = Status::kGeneralFailure;
    const auto running = platform::Current().AreaPort<platform::IServiceStatus>().IsRunning(Audio::Realtek::kServiceName);
    if (running && *running) return RTKToggleNoiseControl(dataFlow, enable, status);
    return QCToggleNoiseControl(dataFlow, enable, status);
}

bool AudioHelper::RTKToggleNoiseControl(int dataFlow, bool enable) {
    int status = Status::kGeneralFailure;
    return RTKToggleNoiseControl(dataFlow, enable, status);
}

bool AudioHelper::RTKToggleNoiseControl(int dataFlow, bool enable, int& status) {
    const std::wstring endpointId = ExtractDevicePath(DefaultDeviceId(dataFlow));
    std::string output;
    bool stalled = false;
    if (!RunPowerShell(Audio::Realtek::NoiseControlScript(endpointId, enable), kNoiseTexts, output, &stalled)) {
        // A PowerShell that hung is the vendor's side not answering.
        if (stalled) status = Status::kValueNotRead;
        return false;
    }
    if (output.find(Audio::Realtek::kNoiseToggled) != std::string::npos) return true;
    // Both tests look at the start of the output, so together they never hold.
    const bool wmiNotFound = output.rfind("0x8004100e", 0) == 0;
    const bool unspecified = output.rfind("0x80004005", 0) == 0;
    status = wmiNotFound && unspecified ? Status::kGeneralFailure : Status::kValueNotRead;
    return false;
}

bool AudioHelper::QCToggleNoiseControl(int dataFlow, bool enable) {
    int status = Status::kGeneralFailure;
    return QCToggleNoiseControl(dataFlow, enable, status);
}

bool AudioHelper::QCToggleNoiseControl(int dataFlow, bool enable, int& status) {
    const std::vector<uint8_t> payload = NoisePayload(enable);
    const auto answer = Endpoints().SendModuleCommand(ToFlow(dataFlow), kNoiseModuleId, payload);
    if (!answer) {
        logger_->LogWarning(L"AudioHelper::QCToggleNoiseControl - the audio device modules could not be reached, HRESULT 0x%x",
                            static_cast<unsigned>(answer.Status()));
        return false;
    }
    if (*answer == IAudioEndpoints::ModuleAnswer::NoModule) {
        logger_->LogWarning(L"AudioHelper::QCToggleNoiseControl - the default device has no noise control module");
        status = Status::kValueNotRead;  // the vendor's module is not there
        return false;
    }
    return *answer == IAudioEndpoints::ModuleAnswer::Succeeded;
}

bool AudioHelper::IsSpeakerSwapSupported() {
    const std::wstring endpointId = ExtractDevicePath(DefaultDeviceId(0));
    std::string output;
    if (!RunPowerShell(Audio::Realtek::SpeakerSwapSupportScript(endpointId), kSwapSupportTexts, output)) return false;
    return output.find(Audio::Realtek::kSwapSupported) != std::string::npos;
}

bool AudioHelper::ToggleSpeakerSwap(bool on) {
    if (!IsSpeakerSwapSupported()) {
        logger_->LogWarning(L"Speaker swap is not supported on this device.");
        return false;
    }
    const std::wstring endpointId = ExtractDevicePath(DefaultDeviceId(0));
    std::string output;
    if (!RunPowerShell(Audio::Realtek::SpeakerSwapScript(endpointId, on), kSwapTexts, output)) return false;
    return output.find(Audio::Realtek::kSwapEnabled) != std::string::npos;
}

int AudioHelper::ToggleNoiseControl(Document* request, Document* response) {
    int dataFlow = -1;
    bool enable = false;
    if (!CheckInputDataFlow(request, dataFlow) || !ReadEnable(request, enable)) return Status::kArgumentCheckFailed;
    AddResult(response, ToggleNoiseControl(dataFlow, enable));
    return Status::kSuccess;
}

int AudioHelper::ToggleSpeakerSwap(Document* request, Document* response) {
    const Json::Value* value = Member(request, L"IValue");
    if (value == nullptr || !value->IsInt() || (value->GetInt() != 0 && value->GetInt() != 1))
        return Status::kArgumentCheckFailed;
    AddResult(response, ToggleSpeakerSwap(value->GetInt() == 1));
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
