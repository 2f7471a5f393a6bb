// DeviceControlTool.exe's display areas. "DisplayHDR": the advanced-colour state of the active
// displays, through the display-configuration API. "DisplayPortrait": the display vendor's colour
// presets of the built-in display, as Windows colour management holds them (the preset profiles
// the vendor's software associates with the panel, and the user's default among them); present
// when the vendor's software is there and its library says the platform is supported.
#include <windows.h>
#include <icm.h>

#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "areas/display/DisplayProtocol.h"
#include "platform/windows/raii/kernel.h"

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

using platform::windows::proc_address;
using platform::windows::unique_hkey;
using platform::windows::unique_hmodule;

// Where the module looks for the display vendor's software, and the first major version it uses.
constexpr wchar_t kVendorService[] =
    L"%PROGRAMFILES%\\Portrait Displays\\QV Display Control Service\\DisplayControlService.exe";
constexpr unsigned kFirstSupportedMajor = 5;
constexpr wchar_t kLibraryName[] = L"QVDC.dll";
// The preset last set through the tool, for a name that two numbers share.
constexpr wchar_t kSettingsKey[] = L"Software\\QV\\DeviceControl";
constexpr wchar_t kLastPresetValue[] = L"DisplayPreset";

unsigned MajorVersion(const std::wstring& path) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0) return 0;
    std::vector<BYTE> block(size);
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) || info == nullptr ||
        length < sizeof(VS_FIXEDFILEINFO))
        return 0;
    return HIWORD(info->dwFileVersionMS);
}

// The folder of this tool, where the module keeps the vendor's library too.
std::wstring ToolFolder() {
    std::wstring path(MAX_PATH, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length >= path.size()) return {};
    path.resize(length);
    return path.substr(0, path.find_last_of(L'\\'));
}

// The device path of the built-in panel (the active target whose connection is internal), as
// colour management names a display; empty when there is none.
std::wstring BuiltInDisplay() {
    for (const DISPLAYCONFIG_PATH_INFO& path : ActivePaths()) {
        switch (path.targetInfo.outputTechnology) {
            case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_INTERNAL:
            case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_DISPLAYPORT_EMBEDDED:
            case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_UDI_EMBEDDED:
            case DISPLAYCONFIG_OUTPUT_TECHNOLOGY_LVDS:
                break;
            default:
                continue;
        }
        DISPLAYCONFIG_TARGET_DEVICE_NAME name{};
        name.header.type = DISPLAYCONFIG_DEVICE_INFO_GET_TARGET_NAME;
        name.header.size = sizeof(name);
        name.header.adapterId = path.targetInfo.adapterId;
        name.header.id = path.targetInfo.id;
        if (DisplayConfigGetDeviceInfo(&name.header) == ERROR_SUCCESS && name.monitorDevicePath[0] != L'\0')
            return name.monitorDevicePath;
    }
    return {};
}

// The display vendor's colour presets of the built-in panel, through Windows colour management.
class VendorColourPresets final : public Display::IDisplayModes {
public:
    bool Present() override {
        if (present_) return *present_;
        present_ = VendorSoftwareUsable();
        return *present_;
    }

    std::optional<int> Mode() override {
        const std::wstring display = BuiltInDisplay();
        if (display.empty()) return std::nullopt;
        return Display::PresetOf(DefaultProfile(display), LastSet());
    }

    bool SetMode(int mode) override {
        const std::wstring display = BuiltInDisplay();
        if (display.empty()) return false;
        const std::wstring profile = Display::ProfileOf(mode, Profiles(display));
        if (profile.empty()) return false;
        // The user's own default, which Windows applies to the panel in the user's session.
        WcsSetUsePerUserProfiles(display.c_str(), CLASS_MONITOR, TRUE);
        if (!WcsSetDefaultColorProfile(WCS_PROFILE_MANAGEMENT_SCOPE_CURRENT_USER, display.c_str(), CPT_ICC, CPST_NONE, 0,
                                       profile.c_str()))
            return false;
        Remember(mode);
        return true;
    }

    std::vector<int> SupportedModes() override {
        const std::wstring display = BuiltInDisplay();
        return display.empty() ? std::vector<int>{} : Display::PresetsOffered(Profiles(display));
    }

private:
    // As the module decides whether to use the library: the vendor's service at version 5 or
    // later, and the library beside us saying the platform is supported.
    static bool VendorSoftwareUsable() {
        wchar_t service[MAX_PATH] = {};
        const DWORD expanded = ExpandEnvironmentStringsW(kVendorService, service, MAX_PATH);
        if (expanded == 0 || expanded > MAX_PATH || MajorVersion(service) < kFirstSupportedMajor) return false;
        const std::wstring folder = ToolFolder();
        if (folder.empty()) return false;
        // Its own imports from its folder and the system folder, never from PATH.
        unique_hmodule library(LoadLibraryExW((folder + L"\\" + kLibraryName).c_str(), nullptr,
                                              LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
        if (!library) return false;
        auto supported = proc_address<int(__cdecl*)()>(library.get(), "IsPlatformSupported");
        return supported != nullptr && supported() == 1;
    }

    // The profiles associated with the display, for the user and for the machine.
    static std::vector<std::wstring> Profiles(const std::wstring& display) {
        std::set<std::wstring> names;
        for (const auto scope : {WCS_PROFILE_MANAGEMENT_SCOPE_CURRENT_USER, WCS_PROFILE_MANAGEMENT_SCOPE_SYSTEM_WIDE}) {
            ENUMTYPEW query{};
            query.dwSize = sizeof(query);
            query.dwVersion = ENUM_TYPE_VERSION;
            query.dwFields = ET_DEVICENAME | ET_DEVICECLASS;
            query.pDeviceName = display.c_str();
            query.dwDeviceClass = CLASS_MONITOR;
            DWORD bytes = 0;
            if (!WcsEnumColorProfilesSize(scope, &query, &bytes) || bytes == 0) continue;
            std::vector<BYTE> buffer(bytes + sizeof(wchar_t) * 2, 0);
            DWORD count = 0;
            if (!WcsEnumColorProfiles(scope, &query, buffer.data(), bytes, &count)) continue;
            for (const wchar_t* name = reinterpret_cast<const wchar_t*>(buffer.data()); *name != L'\0';
                 name += wcslen(name) + 1)
                names.insert(name);
        }
        return {names.begin(), names.end()};
    }

    static std::wstring DefaultProfile(const std::wstring& display) {
        DWORD bytes = 0;
        if (!WcsGetDefaultColorProfileSize(WCS_PROFILE_MANAGEMENT_SCOPE_CURRENT_USER, display.c_str(), CPT_ICC, CPST_NONE,
                                           0, &bytes) ||
            bytes == 0)
            return {};
        std::wstring name(bytes / sizeof(wchar_t) + 1, L'\0');
        if (!WcsGetDefaultColorProfile(WCS_PROFILE_MANAGEMENT_SCOPE_CURRENT_USER, display.c_str(), CPT_ICC, CPST_NONE, 0,
                                       bytes, name.data()))
            return {};
        name.resize(wcslen(name.c_str()));
        return name;
    }

    static std::optional<int> LastSet() {
        DWORD value = 0;
        DWORD size = sizeof(value);
        if (RegGetValueW(HKEY_CURRENT_USER, kSettingsKey, kLastPresetValue, RRF_RT_REG_DWORD, nullptr, &value, &size) !=
            ERROR_SUCCESS)
            return std::nullopt;
        return static_cast<int>(value);
    }

    static void Remember(int mode) {
        unique_hkey key;
        if (RegCreateKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr) !=
            ERROR_SUCCESS)
            return;
        const DWORD value = static_cast<DWORD>(mode);
        RegSetValueExW(key.get(), kLastPresetValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
    }

    std::optional<bool> present_;
};

std::wstring ServeHdr(Process&, const std::wstring& function, const std::wstring& argument) {
    WindowsAdvancedColor displays;
    return Display::ServeHdr(displays, function, argument);
}

std::wstring ServePortrait(Process&, const std::wstring& function, const std::wstring& argument) {
    VendorColourPresets modes;
    return Display::ServePortrait(modes, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> DisplayToolAreas() {
    static const ToolArea<Process> areas[] = {{Display::kHdrArea, Display::kHdrFunctions, &ServeHdr},
                                              {Display::kPortraitArea, Display::kPortraitFunctions, &ServePortrait}};
    return areas;
}

}  // namespace Qv::Tool
