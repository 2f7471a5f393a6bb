#pragma once
// The display areas of DeviceControlTool.exe: "DisplayHDR" (the advanced-colour state of the
// displays) and "DisplayPortrait" (the display vendor's colour presets of the built-in display).
// Used by DisplayHelper, the real tool (tool/DisplayTool.cpp) and the simulated tool
// (sim/SimDisplay.cpp).
//
// A preset is a colour profile that the vendor's software installs and associates with the
// built-in display, named after the preset ("sRGB D65.icm"); the preset in use is the display's
// default profile for the user, which is what Windows colour management applies to the panel.
#include <algorithm>
#include <cwctype>
#include <optional>
#include <string>
#include <vector>

#include "areas/display/ColourPresets.h"
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
    // The vendor's software is there and usable on this machine: its service at version 5 or
    // later, and its display-control library answering that the platform is supported (the
    // module's own test before it uses the library, so the two never disagree).
    virtual bool Present() = 0;
    virtual std::optional<int> Mode() = 0;
    virtual bool SetMode(int mode) = 0;
    virtual std::vector<int> SupportedModes() = 0;

protected:
    ~IDisplayModes() = default;
};

// --- presets as colour profiles ----------------------------------------------------------------

// A profile's preset name: its file name without folder and extension, in lower case.
inline std::wstring ProfileStem(const std::wstring& profile) {
    std::wstring stem = profile.substr(profile.find_last_of(L"\\/") + 1);
    const size_t dot = stem.find_last_of(L'.');
    if (dot != std::wstring::npos) stem.resize(dot);
    for (wchar_t& c : stem) c = static_cast<wchar_t>(std::towlower(c));
    return stem;
}

inline bool NamesPreset(const std::wstring& profile, int number) {
    using Bridge::Server::Services::DeviceControl::ColourPresetName;
    const wchar_t* name = ColourPresetName(number);
    return name != nullptr && ProfileStem(profile) == ProfileStem(std::wstring(name) + L".icm");
}

// The presets that `profiles` offer, in number order (a name under two numbers gives both).
inline std::vector<int> PresetsOffered(const std::vector<std::wstring>& profiles) {
    using Bridge::Server::Services::DeviceControl::kColourPresets;
    std::vector<int> offered;
    for (int number = 0; number < static_cast<int>(kColourPresets.size()); ++number)
        if (std::any_of(profiles.begin(), profiles.end(), [&](const std::wstring& p) { return NamesPreset(p, number); }))
            offered.push_back(number);
    return offered;
}

// The preset the display's default profile is: the number last set when it names that profile
// (a name under two numbers), else the lowest number that does; nothing for no preset's profile.
inline std::optional<int> PresetOf(const std::wstring& profile, std::optional<int> lastSet) {
    using Bridge::Server::Services::DeviceControl::kColourPresets;
    if (profile.empty()) return std::nullopt;
    if (lastSet && NamesPreset(profile, *lastSet)) return lastSet;
    for (int number = 0; number < static_cast<int>(kColourPresets.size()); ++number)
        if (NamesPreset(profile, number)) return number;
    return std::nullopt;
}

// The profile among `profiles` that is preset `number`; empty when none is.
inline std::wstring ProfileOf(int number, const std::vector<std::wstring>& profiles) {
    for (const std::wstring& profile : profiles)
        if (NamesPreset(profile, number)) return profile;
    return {};
}

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

// The tool's line for one of kPortraitFunctions. "IsPortraitSupported" answers 1 or 0; without
// the vendor's software every other function answers "-1"; the supported modes are one line of
// numbers separated by blanks.
inline std::wstring ServePortrait(IDisplayModes& modes, const std::wstring& function, const std::wstring& argument) {
    if (function == kIsPortraitSupported) return Switch(modes.Present());
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
