#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// The machine's audio stack: the endpoints as the Windows Runtime lists them, the default
// endpoint's volume control (Core Audio) and its vendor modules. Failures carry the HRESULT.
class IAudioEndpoints {
public:
    enum class Flow : int { Render = 0, Capture = 1 };

    struct Device {
        std::wstring id;    // the device interface id (\\?\SWD#MMDEVAPI#{...}.{...}#{...})
        std::wstring name;  // the display name
    };

    // The volume control of the default endpoint of one flow, for one call on the calling thread:
    // COM is initialised while it lives. The endpoint is opened on first use.
    class IVolume {
    public:
        virtual ~IVolume() = default;
        // Whether COM could be initialised on this thread; nothing else works without it.
        virtual bool ComReady() const = 0;
        virtual Result<bool> GetMute() = 0;
        virtual Result<void> SetMute(bool mute) = 0;
        virtual Result<float> GetMasterScalar() = 0;
        virtual Result<void> SetMasterScalar(float level) = 0;
    };

    // What a vendor module command came to.
    enum class ModuleAnswer { NoModule, Refused, Succeeded };

    // Defined by the Windows adapter and by the fake (see Platform::AreaPort).
    static std::shared_ptr<IAudioEndpoints> Make(Platform& platform);

    virtual ~IAudioEndpoints() = default;
    // Every endpoint of the flow's device class, in the enumeration's order.
    virtual Result<std::vector<Device>> FindAll(Flow flow) = 0;
    // The id of the default endpoint of the flow for the role `Default`.
    virtual Result<std::wstring> DefaultId(Flow flow) = 0;
    // Volume control of the default endpoint: the multimedia role for playback, the
    // communications role for recording.
    virtual std::unique_ptr<IVolume> OpenDefaultVolume(Flow flow) = 0;
    // Sends `payload` to the module `moduleId` of the flow's default device and waits for it.
    virtual Result<ModuleAnswer> SendModuleCommand(Flow flow, const std::wstring& moduleId,
                                                   std::span<const uint8_t> payload) = 0;
};

}  // namespace Qv::platform
