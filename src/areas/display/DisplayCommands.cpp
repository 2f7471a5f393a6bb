// The display commands: brightness and HDR, the display modes, and the display-control library.
#include "areas/display/DisplayHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

// A reference held for the whole call: the helper outlives a command that uses it.
std::shared_ptr<DisplayHelper> Display() { return DisplayHelper::GetInstance(); }

#define QV_DISPLAY_CALL(Method) [](CommandCall& call) { return Display()->Method(&call.input, &call.output); }

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Inline(61, "Display.GetBrightness", [](CommandCall&) -> InlineResult { return Display()->GetBrightness(); }),
        CommandRow::Delegated(62, "Display.SetBrightness", QV_DISPLAY_CALL(SetBrightness)),
        CommandRow::Inline(63, "Display.IsHDRSupported",
                           [](CommandCall&) -> InlineResult {
                               bool supported = false;
                               return Display()->IsHDRSupported(supported) && supported;
                           }),
        CommandRow::Inline(64, "Display.GetHDRStatus",
                           [](CommandCall&) -> InlineResult {
                               bool on = false;
                               return Display()->GetHDRStatus(on) != 0 && on;
                           }),
        CommandRow::Delegated(65, "Display.SetHDRMode", QV_DISPLAY_CALL(SetHDRMode)),
        CommandRow::Filled(66, "Display.GetDisplaySupportedMode", QV_DISPLAY_CALL(GetDisplaySupportedMode)),
        CommandRow::Inline(67, "Display.GetDisplayMode", [](CommandCall&) -> InlineResult { return Display()->GetDisplayMode(); }),
        CommandRow::Delegated(68, "Display.SetDisplayMode", QV_DISPLAY_CALL(SetDisplayMode)),
        CommandRow::Filled(69, "Display.GetSupportedInputSource", QV_DISPLAY_CALL(GetSupportedInputSource)),
        // 70 and 77 call the library whenever it is loaded, ready or not.
        CommandRow::Inline(70, "Display.GetInputSource",
                           [](CommandCall&) -> InlineResult { return Display()->CallLoadedLibrary("GetInputSource"); }),
        CommandRow::Delegated(71, "Display.SetInputSource", QV_DISPLAY_CALL(SetInputSource)),
        CommandRow::Filled(72, "Display.GetSchedulerInfo", QV_DISPLAY_CALL(GetSchedulerInfo)),
        CommandRow::Delegated(73, "Display.SetSchedulerInfo", QV_DISPLAY_CALL(SetSchedulerInfo)),
        CommandRow::Filled(74, "Display.GetRGBGain", QV_DISPLAY_CALL(GetRGBGain)),
        CommandRow::Delegated(75, "Display.SetRGBGain", QV_DISPLAY_CALL(SetRGBGain)),
        CommandRow::Inline(76, "Display.IsPortraitSupported",
                           [](CommandCall&) -> InlineResult { return Display()->IsPortraitSupported(); }),
        CommandRow::Inline(77, "Display.GetContrast",
                           [](CommandCall&) -> InlineResult { return Display()->CallLoadedLibrary("GetContrast"); }),
        CommandRow::Delegated(78, "Display.SetContrast", QV_DISPLAY_CALL(SetContrast)),
    };
    return rows;
}

#undef QV_DISPLAY_CALL

}  // namespace

Area DisplayArea() {
    Area area{"Display", Rows()};
    // The library is stopped and unloaded, and the WMI connection released, when no service is
    // left (the host may unload the module next), never at process exit under the loader lock.
    area.lastServiceGone = [](platform::Platform&) { DisplayHelper::Release(); };
    return area;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
