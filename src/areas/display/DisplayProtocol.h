#pragma once
// The display areas of DeviceControlTool.exe: "DisplayHDR" (the advanced-colour state of the
// displays) and "DisplayPortrait" (the display modes of the display vendor's software). Used by
// DisplayHelper, the real tool (tool/DisplayTool.cpp) and the simulated tool (sim/SimDisplay.cpp).
#include <optional>
#include <string>
#include <vector>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Display {

inline constexpr wchar_t kHdrArea[] = L"DisplayHDR";
inline constexpr wchar_t kIsHDRSupported[] = L"IsHDRSupported";
inline constexpr wchar_t kGetHDROnOff[] = L"GetHDROnOff";
inline constexpr wchar_t kSetHDROnOff[] = L"SetHDROnOff";
inline constexpr const wchar_t* kHdrFunctions[] = {kIsHDRSupported, kGetHDROnOff, kSetHDROnOff};

inline constexpr wchar_t kPortraitArea[] = L"DisplayPortrait";
inline constexpr wchar_t kIsPortraitSupported[] = L"IsPortraitSupported";
inline constexpr wchar_t kGetDisplayMode[] = L"GetDisplayMode";
inline constexpr wchar_t kSetDisplayMode[] = L"SetDisplayMode";
inline constexpr wchar_t kGetSupportedDisplayModes[] = L"GetSupportedDisplayModes";
inline constexpr const wchar_t* kPortraitFunctions[] = {kIsPortraitSupported, kGetDisplayMode, kSetDisplayMode,
                                                        kGetSupportedDisplayModes};
// A "-1" reply is a failure, in both areas.
inline constexpr Reply kReply = Reply::MinusOneFails;

// The displays' advanced colour (HDR), as the tool reaches it.
class IAdvancedColor {
public:
    // Whether some active display can show advanced colour; nothing when it cannot be read.
    virtual std::optional<bool> Supported() = 0;
    virtual std::optional<bool> Enabled() = 0;
    // Switches it on every display that supports it; false when that failed or none does.
    virtual bool Enable(bool on) = 0;

protected:
    ~IAdvancedColor() = default;
};

// The display vendor's display modes (colour presets), where its software is installed.
class IDisplayModes {
public:
    virtual bool Present() = 0;
    virtual std::optional<int> Mode() = 0;
    virtual bool SetMode(int mode) = 0;
    virtual std::vector<int> SupportedModes() = 0;

protected:
    ~IDisplayModes() = default;
};

// The tool's line for one of kHdrFunctions: 1 or 0, "-1" on failure. A switch answers 1 when the
// displays now hold the state asked for.
inline std::wstring ServeHdr(IAdvancedColor& displays, const std::wstring& function, const std::wstring& argument) {
    const auto answer = [](std::optional<bool> value) { return value ? Switch(*value) : std::wstring(kFailure); };
    if (function == kIsHDRSupported) return answer(displays.Supported());
    if (function == kGetHDROnOff) return answer(displays.Enabled());
    bool on = false;
    if (function == kSetHDROnOff) {
        if (!ParseSwitch(argument, on) || displays.Supported() != true || !displays.Enable(on)) return kFailure;
        return Switch(displays.Enabled() == on);
    }
    return kFailure;
}

// The tool's line for one of kPortraitFunctions. Without the vendor's software every function
// answers "-1"; the supported modes are one line of numbers separated by blanks.
inline std::wstring ServePortrait(IDisplayModes& modes, const std::wstring& function, const std::wstring& argument) {
    if (function == kIsPortraitSupported) return modes.Present() ? L"1" : kFailure;
    if (!modes.Present()) return kFailure;
    if (function == kGetDisplayMode) {
        const auto mode = modes.Mode();
        return mode ? std::to_wstring(*mode) : std::wstring(kFailure);
    }
    int mode = 0;
    if (function == kSetDisplayMode) {
        if (!ParseInteger(argument, mode) || !modes.SetMode(mode)) return kFailure;
        const auto now = modes.Mode();
        return now ? std::to_wstring(*now) : std::wstring(kFailure);
    }
    if (function == kGetSupportedDisplayModes) {
        std::wstring line;
        for (int supported : modes.SupportedModes()) line += (line.empty() ? L"" : L" ") + std::to_wstring(supported);
        return line.empty() ? std::wstring(kFailure) : line;
    }
    return kFailure;
}

}  // namespace Qv::Tool::Display
