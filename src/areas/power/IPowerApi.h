#pragma once
#include <array>
#include <compare>
#include <cstdint>
#include <memory>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// A GUID in its 16 bytes of memory (the layout of the Windows GUID structure).
struct Guid {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    std::array<uint8_t, 8> data4{};
    auto operator<=>(const Guid&) const = default;
};

// The Windows power mode (the power-mode overlay) per power source, and the power source in use.
class IPowerApi {
public:
    // Which of the user-configured power-mode functions this system has.
    struct Functions {
        bool getAc = false;
        bool getDc = false;
        bool setAc = false;
        bool setDc = false;
    };

    // Defined by the Windows adapter and by the fake (see Platform::AreaPort).
    static std::shared_ptr<IPowerApi> Make(Platform& platform);

    virtual ~IPowerApi() = default;
    virtual Functions PowerModeFunctions() = 0;
    // The AC line status: 0 offline, 1 online, 255 unknown.
    virtual Result<uint8_t> AcLineStatus() = 0;
    // The overlay configured for mains (`onMains`) or battery power; a Windows error otherwise.
    virtual Result<Guid> GetUserConfiguredPowerMode(bool onMains) = 0;
    virtual Result<void> SetUserConfiguredPowerMode(bool onMains, const Guid& mode) = 0;
};

}  // namespace Qv::platform
