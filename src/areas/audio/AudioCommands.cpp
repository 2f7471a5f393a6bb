// The Audio area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(41, "Audio.GetAudioDeviceList", F::Delegated),
        CommandRow::NotBuilt(42, "Audio.IsAudioDeviceMuted", F::Inline),
        CommandRow::NotBuilt(43, "Audio.MuteAudioDevice", F::Delegated),
        CommandRow::NotBuilt(44, "Audio.GetAudioVolume", F::Inline),
        CommandRow::NotBuilt(45, "Audio.SetAudioVolume", F::Delegated),
        CommandRow::NotBuilt(46, "Audio.ToggleNoiseControl", F::Delegated),
        CommandRow::NotBuilt(79, "Audio.ToggleSpeakerSwap", F::Delegated),
    };
    return rows;
}

}  // namespace

Area AudioArea() { return {"Audio", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
