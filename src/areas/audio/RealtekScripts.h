#pragma once
// The PowerShell scripts that call the audio vendor's CIM class ("Root\RealtekAudio",
// RtkAudioServiceStaticClass.ServiceCommandStaticMethod), as the vendor's service expects them,
// and the words the vendor's answers are read by. The endpoint id is the only text that is not
// ours: it goes in quoted for the script. PowerShell starts without a profile and non-interactive
// (kSwitches), from the system folder (kBelowSystemFolder).
#include <string>

#include "shared/powershell/PowerShellQuoting.h"

namespace Qv::Audio::Realtek {

inline constexpr wchar_t kServiceName[] = L"RtkAudioUniversalService";

// Noise control: the endpoint id, then 1 or 0, then "Enabled" or "Disabled".
inline constexpr wchar_t kNoiseBeforeId[] =
    LR"ps( -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command "try { $SRV_CMD_Get_Support_RtkAINRForQv = [UInt32]0x100002A0;$SRV_CMD_Set_RtkAINRForQv = [UInt32]0x100002A2;$DevicePathEndpointId = ')ps";
inline constexpr wchar_t kNoiseBeforeValue[] =
    LR"ps(';$result = Invoke-CimMethod -Namespace 'Root\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' -Arguments @{DevicePath = $DevicePathEndpointId;Command = $SRV_CMD_Get_Support_RtkAINRForQv;Index = 0;InValue = 0} -ErrorAction Stop;if ($result.OutValue -eq 1) { $result2 = Invoke-CimMethod -Namespace 'Root\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' -Arguments @{DevicePath = $DevicePathEndpointId;Command = $SRV_CMD_Set_RtkAINRForQv;Index = 0;InValue =)ps";
inline constexpr wchar_t kNoiseBeforeState[] =
    LR"ps(;};"Write-Host "Result: $result2" if ($result2.OutValue -eq 0) { Write-Host "AINR Feature Toggle Success. Set to:)ps";
inline constexpr wchar_t kNoiseEnd[] =
    LR"ps("} else { Write-Host "Issue while setting AINR feature." }} else { Write-Host "Not Support AINR Feature" }} catch { Write-Host 'Exception thrown'; Write-Output $_; }")ps";
inline constexpr wchar_t kNoiseEnabled[] = L"Enabled";
inline constexpr wchar_t kNoiseDisabled[] = L"Disabled";
// Speaker swap support: the render endpoint id.
inline constexpr wchar_t kSwapSupportBeforeId[] =
    LR"ps( -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command "try { $SRV_CMD_Get_Support_Speaker_Swap = [UInt32]0x10000292;$DevicePathEndpointId = ')ps";
inline constexpr wchar_t kSwapSupportEnd[] =
    LR"ps(';$result = Invoke-CimMethod -Namespace 'Root\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' -Arguments @{DevicePath=$DevicePathEndpointId; Command=$SRV_CMD_Get_Support_Speaker_Swap; Index=0; InValue=0} -ErrorAction Stop; if ($result.OutValue -eq 1) { Write-Host 'Supported' } else { Write-Host 'Not Possible' }} catch { Write-Host 'Exception thrown' }")ps";
// Speaker swap: the render endpoint id, then 1 or 0.
inline constexpr wchar_t kSwapBeforeId[] =
    LR"ps( -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command "try { $SRV_CMD_Set_Speaker_Swap_Status = [UInt32]0x10000294;$DevicePathEndpointId = ')ps";
inline constexpr wchar_t kSwapBeforeValue[] =
    LR"ps(';$result = Invoke-CimMethod -Namespace 'Root\RealtekAudio' -ClassName 'RtkAudioServiceStaticClass' -MethodName 'ServiceCommandStaticMethod' -Arguments @{DevicePath=$DevicePathEndpointId; Command=$SRV_CMD_Set_Speaker_Swap_Status; Index=0; InValue=)ps";
inline constexpr wchar_t kSwapEnd[] =
    LR"ps(} -ErrorAction Stop; if ($result.OutValue -eq 0) { Write-Host 'Speaker Swap Disabled' } else { Write-Host 'Speaker Swap Enabled' }} catch { Write-Host 'Exception thrown' }")ps";

// What the scripts print.
inline constexpr char kNoiseToggled[] = "AINR Feature Toggle Success";
inline constexpr char kSwapSupported[] = "Supported";
inline constexpr char kSwapEnabled[] = "Enabled";

inline std::wstring NoiseControlScript(const std::wstring& endpointId, bool enable) {
    return std::wstring(kNoiseBeforeId) + PowerShell::QuoteForScript(endpointId) + kNoiseBeforeValue +
           (enable ? L"1" : L"0") + kNoiseBeforeState + (enable ? kNoiseEnabled : kNoiseDisabled) + kNoiseEnd;
}

inline std::wstring SpeakerSwapSupportScript(const std::wstring& endpointId) {
    return std::wstring(kSwapSupportBeforeId) + PowerShell::QuoteForScript(endpointId) + kSwapSupportEnd;
}

inline std::wstring SpeakerSwapScript(const std::wstring& endpointId, bool on) {
    return std::wstring(kSwapBeforeId) + PowerShell::QuoteForScript(endpointId) + kSwapBeforeValue +
           (on ? L"1" : L"0") + kSwapEnd;
}

}  // namespace Qv::Audio::Realtek
