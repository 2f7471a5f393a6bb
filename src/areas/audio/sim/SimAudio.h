#pragma once
// The simulated laptop's audio: its endpoints (the Windows Runtime list, the defaults by role, the
// endpoint volume and the vendor modules), the services the noise control asks about, and the
// audio vendor's CIM class as PowerShell reaches it.
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "areas/audio/IAudioEndpoints.h"
#include "areas/audio/IServiceStatus.h"
#include "platform/sim/Recent.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

// The laptop's endpoints as the platform lists them.
inline constexpr wchar_t kSimSpeakersId[] =
    L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}#{e6327cad-dcec-4949-ae8a-991e976a79d2}";
inline constexpr wchar_t kSimHeadphonesId[] =
    L"\\\\?\\SWD#MMDEVAPI#{0.0.0.00000000}.{9a4b2c61-5d3e-4f70-8b19-c2e6a1f4d703}#{e6327cad-dcec-4949-ae8a-991e976a79d2}";
inline constexpr wchar_t kSimMicrophoneId[] =
    L"\\\\?\\SWD#MMDEVAPI#{0.0.1.00000000}.{2d8e7f90-3a1b-4c5d-a6e7-f8091a2b3c4d}#{2eef81be-33fa-4800-9670-1cd474972c3f}";

// The other audio vendor's noise-control module, on the endpoints of a laptop that has it.
inline constexpr wchar_t kSimNoiseModuleId[] = L"{CC962E46-3072-4CCF-B4B7-12DEF8EBB192}";

class SimAudioEndpoints : public platform::IAudioEndpoints {
public:
    struct Endpoint {
        std::wstring id;
        std::wstring name;
        bool muted = false;
        float level = 0.5f;
        std::set<std::wstring> modules;  // the ids of its audio device modules
    };
    struct FlowState {
        std::vector<Endpoint> endpoints;  // in the enumeration's order
        std::wstring defaultId;           // for the role Default
        std::wstring volumeId;            // multimedia (playback) or communications (recording) default
    };
    struct SentCommand {
        Flow flow;
        std::wstring endpointId;
        std::wstring moduleId;
        std::vector<uint8_t> payload;
    };

    explicit SimAudioEndpoints(SimFaults& faults);

    platform::Result<std::vector<Device>> FindAll(Flow flow) override;
    platform::Result<std::wstring> DefaultId(Flow flow) override;
    std::unique_ptr<IVolume> OpenDefaultVolume(Flow flow) override;
    platform::Result<ModuleAnswer> SendModuleCommand(Flow flow, const std::wstring& moduleId,
                                                     std::span<const uint8_t> payload) override;

    // --- arrangement (failures are HRESULTs; 0 means the call works) ---
    void SetFlow(Flow flow, FlowState state);
    FlowState GetFlow(Flow flow) const;
    void SetEnumerationFailure(int32_t hresult);
    void SetDefaultIdFailure(int32_t hresult);
    void SetComInitFailure(int32_t hresult);
    void SetModulesFailure(int32_t hresult);  // the module manager cannot be activated
    void SetModuleRefuses(bool refuses);      // the module answers that the device is not available

    // --- observation ---
    std::vector<SentCommand> SentCommands() const;
    int OpenVolumes() const;  // volume controls not yet released

private:
    class Volume;
    Endpoint* Find(Flow flow, const std::wstring& id);

    SimFaults& faults_;
    mutable std::mutex mutex_;
    FlowState flows_[2];
    int32_t enumerationFailure_ = 0;
    int32_t defaultIdFailure_ = 0;
    int32_t comInitFailure_ = 0;
    int32_t modulesFailure_ = 0;
    bool moduleRefuses_ = false;
    int openVolumes_ = 0;
    Recent<SentCommand> sent_;
};

class SimServiceStatus : public platform::IServiceStatus {
public:
    enum class State { Running, Stopped, Unreadable };
    explicit SimServiceStatus(SimFaults& faults) : faults_(faults) {}
    platform::Result<bool> IsRunning(const std::wstring& name) override;

    void SetService(const std::wstring& name, State state);
    void RemoveService(const std::wstring& name);

private:
    SimFaults& faults_;
    std::mutex mutex_;
    std::map<std::wstring, State> services_;
};

// The audio vendor's CIM class, as the simulated PowerShell reaches it (kept in the world).
struct SimRealtek {
    bool installed = false;  // the class exists (the vendor's audio software is there)
    bool noiseSupported = true;
    bool noiseOn = false;
    bool swapSupported = true;
    bool swapOn = false;
    bool hangs = false;  // PowerShell prints nothing and never ends
    // The Core Audio endpoint ids the class knows: the laptop's endpoints above.
    std::set<std::wstring> devicePaths{L"{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}",
                                       L"{0.0.0.00000000}.{9a4b2c61-5d3e-4f70-8b19-c2e6a1f4d703}",
                                       L"{0.0.1.00000000}.{2d8e7f90-3a1b-4c5d-a6e7-f8091a2b3c4d}"};
    Recent<std::wstring> calls;          // "<command> <device path> <value>"
};

// The simulated device's audio ports (tests arrange them through these).
inline SimAudioEndpoints& SimulatedAudio(platform::Platform& device) {
    return static_cast<SimAudioEndpoints&>(device.AreaPort<platform::IAudioEndpoints>());
}
inline SimServiceStatus& SimulatedServices(platform::Platform& device) {
    return static_cast<SimServiceStatus&>(device.AreaPort<platform::IServiceStatus>());
}

}  // namespace Qv::Sim
