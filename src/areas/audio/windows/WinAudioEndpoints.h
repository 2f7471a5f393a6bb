#pragma once
#include "areas/audio/IAudioEndpoints.h"

namespace Qv::platform::windows {

// The endpoints through the Windows Runtime (DeviceInformation, MediaDevice, the audio device
// modules and a DataWriter for their commands), the endpoint volume through Core Audio.
class WinAudioEndpoints : public IAudioEndpoints {
public:
    Result<std::vector<Device>> FindAll(Flow flow) override;
    Result<std::wstring> DefaultId(Flow flow) override;
    std::unique_ptr<IVolume> OpenDefaultVolume(Flow flow) override;
    Result<ModuleAnswer> SendModuleCommand(Flow flow, const std::wstring& moduleId,
                                           std::span<const uint8_t> payload) override;
};

}  // namespace Qv::platform::windows
