// DeviceControlTool.exe's application area: an application's install folder from the system's
// and the user's lists of installed programs, and a text file opened as a document with the
// user's default editor.
#include <windows.h>
#include <shellapi.h>

#include <span>

#include "areas/applications/ApplicationProtocol.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::Tool {
namespace {

using platform::windows::unique_hkey;

constexpr const wchar_t* kUninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

std::wstring ReadText(HKEY key, const wchar_t* value) {
    wchar_t text[1024] = {};
    DWORD size = sizeof(text) - sizeof(wchar_t);
    if (RegGetValueW(key, nullptr, value, RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ, nullptr, text, &size) != ERROR_SUCCESS)
        return {};
    return text;
}

class UserDesktop final : public Application::IDesktop {
public:
    std::optional<std::wstring> InstallLocation(const std::wstring& name) override {
        // The machine's 64-bit and 32-bit lists, then the user's own.
        const std::pair<HKEY, REGSAM> lists[] = {{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY},
                                                 {HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY},
                                                 {HKEY_CURRENT_USER, 0}};
        for (const auto& [root, view] : lists) {
            unique_hkey programs;
            if (RegOpenKeyExW(root, kUninstall, 0, KEY_READ | view, programs.put()) != ERROR_SUCCESS) continue;
            wchar_t subkey[256];
            for (DWORD i = 0;; ++i) {
                DWORD length = 256;
                if (RegEnumKeyExW(programs.get(), i, subkey, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                    break;
                unique_hkey program;
                if (RegOpenKeyExW(programs.get(), subkey, 0, KEY_READ | view, program.put()) != ERROR_SUCCESS) continue;
                if (CompareStringOrdinal(ReadText(program.get(), L"DisplayName").c_str(), -1, name.c_str(), -1, TRUE) !=
                    CSTR_EQUAL)
                    continue;
                const std::wstring location = ReadText(program.get(), L"InstallLocation");
                if (!location.empty()) return location;
            }
        }
        return std::nullopt;
    }

    bool PresentDocument(const std::wstring& path) override {
        if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) return false;
        SHELLEXECUTEINFOW open{};
        open.cbSize = sizeof(open);
        open.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
        open.lpVerb = L"open";
        open.lpFile = path.c_str();
        open.nShow = SW_SHOWNORMAL;
        return ShellExecuteExW(&open) != FALSE;
    }
};

std::wstring Serve(Process&, const std::wstring& function, const std::wstring& argument) {
    UserDesktop desktop;
    return Application::Serve(desktop, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> ApplicationToolAreas() {
    static const ToolArea<Process> areas[] = {{Application::kArea, Application::kFunctions, &Serve}};
    return areas;
}

}  // namespace Qv::Tool
