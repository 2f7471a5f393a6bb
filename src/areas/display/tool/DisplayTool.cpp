// DeviceControlTool.exe's display areas. "DisplayHDR": the advanced-colour state of the active
// displays, through the display-configuration API. "DisplayPortrait": the display modes belong to
// the display vendor's software, which this tool does not carry; without it every function
// answers -1.
#include <windows.h>

#include <vector>

#include "areas/display/DisplayProtocol.h"

namespace Qv::Tool {
namespace {

// The targets of the active display paths.
std::vector<DISPLAYCONFIG_PATH_INFO> ActivePaths() {
    for (int attempt = 0; attempt < 3; ++attempt) {
        UINT32 pathCount = 0;
        UINT32 modeCount = 0;
        if (GetDisplayConfigBufferSizes(QDC_ONLY_ACTIVE_PATHS, &pathCount, &modeCount) != ERROR_SUCCESS) return {};
        std::vector<DISPLAYCONFIG_PATH_INFO> paths(pathCount);
        std::vector<DISPLAYCONFIG_MODE_INFO> modes(modeCount);
        const LONG result =
            QueryDisplayConfig(QDC_ONLY_ACTIVE_PATHS, &pathCount, paths.data(), &modeCount, modes.data(), nullptr);
        if (result == ERROR_INSUFFICIENT_BUFFER) continue;  // the configuration changed in between
        if (result != ERROR_SUCCESS) return {};
        paths.resize(pathCount);
        return paths;
    }
    return {};
}

class WindowsAdvancedColor final : public Display::IAdvancedColor {
public:
    WindowsAdvancedColor() : paths_(ActivePaths()) {}

    std::optional<bool> Supported() override {
        return Any([](const DISPLAYCONFIG_GET_ADVANCED_COLOR_INFO& info) { return info.advancedColorSupported != 0; });
    }
    std::optional<bool> Enabled() override {
        return Any([](const DISPLAYCONFIG_GET_ADVANCED_COLOR_INFO& info) {
            return info.advancedColorSupported != 0 && info.advancedColorEnabled != 0;
        });
    }
    bool Enable(bool on) override {
        bool any = false;
        for (const DISPLAYCONFIG_PATH_INFO& path : paths_) {
            const auto info = Info(path);
            if (!info || info->advancedColorSupported == 0) continue;
            DISPLAYCONFIG_SET_ADVANCED_COLOR_STATE state{};
            state.header.type = DISPLAYCONFIG_DEVICE_INFO_SET_ADVANCED_COLOR_STATE;
            state.header.size = sizeof(state);
            state.header.adapterId = path.targetInfo.adapterId;
            state.header.id = path.targetInfo.id;
            state.enableAdvancedColor = on ? 1 : 0;
            if (DisplayConfigSetDeviceInfo(&state.header) != ERROR_SUCCESS) return false;
            any = true;
        }
        return any;
    }

private:
    static std::optional<DISPLAYCONFIG_GET_ADVANCED_COLOR_INFO> Info(const DISPLAYCONFIG_PATH_INFO& path) {
        DISPLAYCONFIG_GET_ADVANCED_COLOR_INFO info{};
        info.header.type = DISPLAYCONFIG_DEVICE_INFO_GET_ADVANCED_COLOR_INFO;
        info.header.size = sizeof(info);
        info.header.adapterId = path.targetInfo.adapterId;
        info.header.id = path.targetInfo.id;
        if (DisplayConfigGetDeviceInfo(&info.header) != ERROR_SUCCESS) return std::nullopt;
        return info;
    }

    // Whether some display's state has `test`; nothing when no display could be read.
    template <class Test>
    std::optional<bool> Any(Test test) {
        bool read = false;
        for (const DISPLAYCONFIG_PATH_INFO& path : paths_) {
            const auto info = Info(path);
            if (!info) continue;
            read = true;
            if (test(*info)) return true;
        }
        return read ? std::optional<bool>(false) : std::nullopt;
    }

    std::vector<DISPLAYCONFIG_PATH_INFO> paths_;
};

// No display vendor's software in this tool.
class AbsentDisplayModes final : public Display::IDisplayModes {
public:
    bool Present() override { return false; }
    std::optional<int> Mode() override { return std::nullopt; }
    bool SetMode(int) override { return false; }
    std::vector<int> SupportedModes() override { return {}; }
};

std::wstring ServeHdr(Process&, const std::wstring& function, const std::wstring& argument) {
    WindowsAdvancedColor displays;
    return Display::ServeHdr(displays, function, argument);
}

std::wstring ServePortrait(Process&, const std::wstring& function, const std::wstring& argument) {
    AbsentDisplayModes modes;
    return Display::ServePortrait(modes, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> DisplayToolAreas() {
    static const ToolArea<Process> areas[] = {{Display::kHdrArea, Display::kHdrFunctions, &ServeHdr},
                                              {Display::kPortraitArea, Display::kPortraitFunctions, &ServePortrait}};
    return areas;
}

}  // namespace Qv::Tool
