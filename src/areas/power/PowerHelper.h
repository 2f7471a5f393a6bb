#pragma once
// The Windows power mode (best performance, balanced, best power efficiency) of the power source
// in use, through the user-configured power-mode functions of newer Windows builds.
#include <map>

#include "core/json.h"
#include "core/logging.h"
#include "areas/power/IPowerApi.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

enum PowerMode : int32_t {
    BestPerformance = 0,
    Balanced = 1,
    BestPowerEfficiency = 2,
};

class PowerHelper {
public:
    using Document = Json::Document;

    // The process's instance (the experience modes take the same one).
    static PowerHelper* GetInstance();
    // A helper of its own on `platform` (tests); null: the installed platform at each call.
    explicit PowerHelper(platform::Platform* platform);

    // Whether this system has all four power-mode functions, as found when the helper was made.
    bool IsPowerSupported() const { return supported_; }
    int GetPowerMode();  // the PowerMode, or -1
    bool SetPowerMode(PowerMode mode);

    // JSON-facing: 0 with "result", or 0x20000006 unless "IValue" is 0, 1 or 2. (The getters'
    // rows are inline: 102 answers 0x20000004 when the mode cannot be read.)
    int SetPowerMode(Document* request, Document* response);

    // The overlay each mode stands for.
    static const std::map<PowerMode, platform::Guid>& ModeOverlays();

private:
    platform::Platform& Ports() { return platform_ != nullptr ? *platform_ : platform::Current(); }

    platform::Platform* platform_ = nullptr;
    platform::IPowerApi::Functions functions_;
    bool supported_ = false;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
