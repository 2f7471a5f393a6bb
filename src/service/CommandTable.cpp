#include "service/CommandTable.h"

#include <algorithm>

#include "helpers/AccessoryHelper.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

const char* FormName(CommandForm form) {
    switch (form) {
        case CommandForm::Inline: return "inline";
        case CommandForm::Delegated: return "delegated";
        case CommandForm::Filled: return "filled";
    }
    return "?";
}

CommandTable::CommandTable(std::vector<CommandRow> rows) : rows_(std::move(rows)) {
    std::sort(rows_.begin(), rows_.end(), [](const CommandRow& a, const CommandRow& b) { return a.number < b.number; });
}

const CommandRow* CommandTable::Find(unsigned int number) const {
    auto it = std::lower_bound(rows_.begin(), rows_.end(), number,
                               [](const CommandRow& row, unsigned int n) { return row.number < n; });
    return (it != rows_.end() && it->number == number) ? &*it : nullptr;
}

namespace {

int MouseGetSpeed(CommandCall& call) { return AccessoryHelper::GetInstance()->GetMouseSpeed(&call.input, &call.output); }
int MouseSetSpeed(CommandCall& call) { return AccessoryHelper::GetInstance()->SetMouseSpeed(&call.input, &call.output); }
int MouseSwapButton(CommandCall& call) {
    return AccessoryHelper::GetInstance()->SwapMouseButton(&call.input, &call.output);
}

}  // namespace

const CommandTable& CommandTable::Standard() {
    using F = CommandForm;
    // Rows whose handler is null answer "unsupported function number" until their helper lands.
    static const CommandTable table({
        {1, "Camera.IsZoomSupported", F::Inline, nullptr},
        {2, "Camera.GetZoom", F::Inline, nullptr},
        {3, "Camera.SetZoom", F::Delegated, nullptr},
        {4, "Camera.IsBlurSupported", F::Inline, nullptr},
        {5, "Camera.GetBlurOnOff", F::Inline, nullptr},
        {6, "Camera.SetBlurOnOff", F::Delegated, nullptr},
        {7, "Camera.IsAutoFrameSupported", F::Inline, nullptr},
        {8, "Camera.GetAutoFrameOnOff", F::Inline, nullptr},
        {9, "Camera.SetAutoFrameOnOff", F::Delegated, nullptr},
        {10, "Camera.GetBrightness", F::Inline, nullptr},
        {11, "Camera.SetBrightness", F::Delegated, nullptr},
        {12, "Camera.SetCameraOnOff", F::Delegated, nullptr},
        {13, "Camera.IsCameraSupported", F::Inline, nullptr},
        {21, "Application.OpenApplication", F::Delegated, nullptr},
        {22, "Application.CloseApplication", F::Delegated, nullptr},
        {23, "Application.WriteToDoc", F::Delegated, nullptr},
        {31, "SystemMonitor.RegisterDeviceStatusChange", F::Delegated, nullptr},
        {32, "SystemMonitor.UnregisterDeviceStatusChange", F::Delegated, nullptr},
        {41, "Audio.GetAudioDeviceList", F::Delegated, nullptr},
        {42, "Audio.IsAudioDeviceMuted", F::Inline, nullptr},
        {43, "Audio.MuteAudioDevice", F::Delegated, nullptr},
        {44, "Audio.GetAudioVolume", F::Inline, nullptr},
        {45, "Audio.SetAudioVolume", F::Delegated, nullptr},
        {46, "Audio.ToggleNoiseControl", F::Delegated, nullptr},
        {61, "Display.GetBrightness", F::Inline, nullptr},
        {62, "Display.SetBrightness", F::Delegated, nullptr},
        {63, "Display.IsHDRSupported", F::Inline, nullptr},
        {64, "Display.GetHDRStatus", F::Inline, nullptr},
        {65, "Display.SetHDRMode", F::Delegated, nullptr},
        {66, "Display.GetDisplaySupportedMode", F::Filled, nullptr},
        {67, "Display.GetDisplayMode", F::Inline, nullptr},
        {68, "Display.SetDisplayMode", F::Delegated, nullptr},
        {69, "Display.GetSupportedInputSource", F::Filled, nullptr},
        {70, "Display.GetInputSource", F::Inline, nullptr},
        {71, "Display.SetInputSource", F::Delegated, nullptr},
        {72, "Display.GetSchedulerInfo", F::Filled, nullptr},
        {73, "Display.SetSchedulerInfo", F::Delegated, nullptr},
        {74, "Display.GetRGBGain", F::Filled, nullptr},
        {75, "Display.SetRGBGain", F::Delegated, nullptr},
        {76, "Display.IsPortraitSupported", F::Inline, nullptr},
        {77, "Display.GetContrast", F::Inline, nullptr},
        {78, "Display.SetContrast", F::Delegated, nullptr},
        {79, "Audio.ToggleSpeakerSwap", F::Delegated, nullptr},
        {91, "Accessory.GetMouseSpeed", F::Inline, &MouseGetSpeed},
        {92, "Accessory.SetMouseSpeed", F::Inline, &MouseSetSpeed},
        {93, "Accessory.SwapMouseButton", F::Inline, &MouseSwapButton},
        {101, "Power.IsPowerSupported", F::Inline, nullptr},
        {102, "Power.GetPowerMode", F::Inline, nullptr},
        {103, "Power.SetPowerMode", F::Delegated, nullptr},
        {110, "ExpModes.ChangeMode", F::Delegated, nullptr},
        {111, "ExpModes.RestoreMode", F::Inline, nullptr},
        {121, "Notification.GetToastOnOff", F::Inline, nullptr},
        {122, "Notification.SetToastOnOff", F::Delegated, nullptr},
        {131, "System.IsSystemModeSupported", F::Inline, nullptr},
        {132, "System.GetSystemMode", F::Inline, nullptr},
        {133, "System.SetSystemMode", F::Delegated, nullptr},
    });
    return table;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
