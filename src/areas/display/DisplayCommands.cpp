// The Display area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(61, "Display.GetBrightness", F::Inline),
        CommandRow::NotBuilt(62, "Display.SetBrightness", F::Delegated),
        CommandRow::NotBuilt(63, "Display.IsHDRSupported", F::Inline),
        CommandRow::NotBuilt(64, "Display.GetHDRStatus", F::Inline),
        CommandRow::NotBuilt(65, "Display.SetHDRMode", F::Delegated),
        CommandRow::NotBuilt(66, "Display.GetDisplaySupportedMode", F::Filled),
        CommandRow::NotBuilt(67, "Display.GetDisplayMode", F::Inline),
        CommandRow::NotBuilt(68, "Display.SetDisplayMode", F::Delegated),
        CommandRow::NotBuilt(69, "Display.GetSupportedInputSource", F::Filled),
        CommandRow::NotBuilt(70, "Display.GetInputSource", F::Inline),
        CommandRow::NotBuilt(71, "Display.SetInputSource", F::Delegated),
        CommandRow::NotBuilt(72, "Display.GetSchedulerInfo", F::Filled),
        CommandRow::NotBuilt(73, "Display.SetSchedulerInfo", F::Delegated),
        CommandRow::NotBuilt(74, "Display.GetRGBGain", F::Filled),
        CommandRow::NotBuilt(75, "Display.SetRGBGain", F::Delegated),
        CommandRow::NotBuilt(76, "Display.IsPortraitSupported", F::Inline),
        CommandRow::NotBuilt(77, "Display.GetContrast", F::Inline),
        CommandRow::NotBuilt(78, "Display.SetContrast", F::Delegated),
    };
    return rows;
}

}  // namespace

Area DisplayArea() { return {"Display", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
