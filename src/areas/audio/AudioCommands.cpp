// The audio commands.
#include "areas/audio/AudioHelper.h"
#include "core/status.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

AudioHelper& Audio() { return *AudioHelper::GetInstance(); }

InlineResult IsMuted(CommandCall& call) {
    int dataFlow = -1;
    if (!Audio().CheckInputDataFlow(&call.input, dataFlow)) return InlineResult::Failed(Status::kArgumentCheckFailed);
    const int muted = Audio().IsAudioDeviceMuted(dataFlow);
    if (muted < 0) return InlineResult::Failed(Status::kGeneralFailure);
    return muted != 0;
}

InlineResult Volume(CommandCall& call) {
    int dataFlow = -1;
    if (!Audio().CheckInputDataFlow(&call.input, dataFlow)) return InlineResult::Failed(Status::kArgumentCheckFailed);
    return Audio().GetAudioVolume(dataFlow);
}

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Delegated(41, "Audio.GetAudioDeviceList",
                              [](CommandCall& call) { return Audio().GetAudioDeviceList(&call.input, &call.output); }),
        CommandRow::Inline(42, "Audio.IsAudioDeviceMuted", &IsMuted),
        CommandRow::Delegated(43, "Audio.MuteAudioDevice",
                              [](CommandCall& call) { return Audio().MuteAudioDevice(&call.input, &call.output); }),
        CommandRow::Inline(44, "Audio.GetAudioVolume", &Volume),
        CommandRow::Delegated(45, "Audio.SetAudioVolume",
                              [](CommandCall& call) { return Audio().SetAudioVolume(&call.input, &call.output); }),
        CommandRow::Delegated(46, "Audio.ToggleNoiseControl",
                              [](CommandCall& call) { return Audio().ToggleNoiseControl(&call.input, &call.output); }),
        CommandRow::Delegated(79, "Audio.ToggleSpeakerSwap",
                              [](CommandCall& call) { return Audio().ToggleSpeakerSwap(&call.input, &call.output); }),
    };
    return rows;
}

}  // namespace

Area AudioArea() { return {"Audio", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
