// DeviceControlTool.exe's application area: an application's install folder from the system's
// and the user's lists of installed programs, and a text file opened as a document with the
// user's default editor.
#include <windows.h>
#include <shellapi.h>

#include <span>
#include <string>

#include "areas/applications/ApplicationProtocol.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::Tool {
namespace {

using platform::windows::unique_handle;
using platform::windows::unique_hkey;

constexpr const wchar_t* kUninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

std::wstring ReadText(HKEY key, const wchar_t* value) {
    wchar_t text[1024] = {};
    DWORD size = sizeof(text) - sizeof(wchar_t);
    if (RegGetValueW(key, nullptr, value, RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ, nullptr, text, &size) != ERROR_SUCCESS)
        return {};
    return text;
}

// A copy of the text file at `path` made new in this user's temporary folder; empty on failure.
std::wstring CopyForTheUser(const std::wstring& path) {
    constexpr DWORD kMaxBytes = 16u << 20;
    unique_handle source(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!source) return {};
    std::string text;
    char chunk[4096];
    DWORD read = 0;
    while (ReadFile(source.get(), chunk, sizeof chunk, &read, nullptr) && read > 0) {
        text.append(chunk, read);
        if (text.size() > kMaxBytes) return {};
    }
    wchar_t folder[MAX_PATH + 1] = {};
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH) return {};
    for (unsigned attempt = 0; attempt < 16; ++attempt) {
        const std::wstring copy = std::wstring(folder) + L"WrenServiceTemp-" + std::to_wstring(GetCurrentProcessId()) +
                                  L"-" + std::to_wstring(GetTickCount64() + attempt) + L".txt";
        unique_handle target(CreateFileW(copy.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!target) {
            if (GetLastError() == ERROR_FILE_EXISTS) continue;
            return {};
        }
        DWORD written = 0;
        if (!WriteFile(target.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written != text.size())
            return {};
        return copy;
    }
    return {};
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
        // The service removes its file once the tool has answered: what the editor opens is the
        // user's own copy, in the user's own temporary folder.
        const std::wstring copy = CopyForTheUser(path);
        if (copy.empty()) return false;
        SHELLEXECUTEINFOW open{};
        open.cbSize = sizeof(open);
        open.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
        open.lpVerb = L"open";
        open.lpFile = copy.c_str();
        open.nShow = SW_SHOWNORMAL;
        if (ShellExecuteExW(&open)) return true;
        DeleteFileW(copy.c_str());  // nobody will read it
        return false;
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
