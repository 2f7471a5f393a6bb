#pragma once
// The applications area: the tool's words (area "Application") and its answers, and the command
// texts the service runs as the user, with the one quoting rule that keeps a client's text inside
// its quotes. Used by ApplicationHelper, the real tool (tool/ApplicationTool.cpp) and the
// simulated laptop (sim/SimApplications.cpp).
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/command_line.h"

#include "shared/powershell/PowerShellQuoting.h"
#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Application {

inline constexpr wchar_t kArea[] = L"Application";
inline constexpr wchar_t kGetApplicationLocation[] = L"GetApplicationLocation";
inline constexpr wchar_t kWriteToDoc[] = L"WriteToDoc";
inline constexpr const wchar_t* kFunctions[] = {kGetApplicationLocation, kWriteToDoc};
inline constexpr Reply kReply = Reply::MinusOneFails;

// The scripts run as the user. Each client text stands inside single quotes of a PowerShell
// script, which is one double-quoted argument of powershell.exe.
inline constexpr wchar_t kStartAppsBefore[] = L"Get-StartApps | Where-Object { $_.name -eq '";
inline constexpr wchar_t kStartAppsAfter[] = L"' } | Select-Object -ExpandProperty AppID -First 1";
inline constexpr wchar_t kProcessBefore[] = L"Get-WmiObject Win32_Process | Where-Object { $_.Path -like '";
inline constexpr wchar_t kProcessAfter[] = L"*' } | Select-Object -ExpandProperty Name -First 1";
inline constexpr wchar_t kAppsFolder[] = L"shell:appsFolder\\";
// The programs, named in full: below the Windows folder and the system folder.
inline constexpr wchar_t kExplorerBelowWindows[] = L"\\explorer.exe";
inline constexpr wchar_t kTaskKillBelowSystem[] = L"\\taskkill.exe";

using PowerShell::IsPowerShellQuote;
using PowerShell::QuoteForScript;

// "<powershell>" -NoProfile -NonInteractive -Command "<script>"
inline std::wstring PowerShellCommand(const std::wstring& powerShell, const std::wstring& script) {
    return L"\"" + powerShell + L"\" " + PowerShell::kSwitches + L" -Command \"" + script + L"\"";
}

// The application id the Start menu lists under the display name `name`.
inline std::wstring StartAppsCommand(const std::wstring& powerShell, const std::wstring& name) {
    return PowerShellCommand(powerShell, kStartAppsBefore + QuoteForScript(name) + kStartAppsAfter);
}

// The executable name of the first process that runs from below `location`, taken literally:
// its wildcard characters are escaped for -like, so "C:\Apps\*" is not every folder of C:\Apps.
inline std::wstring ProcessCommand(const std::wstring& powerShell, const std::wstring& location) {
    return PowerShellCommand(powerShell,
                             kProcessBefore + QuoteForScript(PowerShell::EscapeWildcards(location)) + kProcessAfter);
}

// "<explorer>" "shell:appsFolder\<id>"
inline std::wstring OpenAppsFolderCommand(const std::wstring& explorer, const std::wstring& applicationId) {
    return L"\"" + explorer + L"\" " + Core::QuoteArgument(kAppsFolder + applicationId);
}

// Ends the processes of that image name in the user's session, the image name quoted.
inline std::wstring TaskKillCommand(const std::wstring& taskKill, uint32_t session, const std::wstring& image) {
    return L"\"" + taskKill + L"\" /F /T /FI \"SESSION eq " + std::to_wstring(session) + L"\" /IM " +
           Core::QuoteArgument(image);
}

// An executable name that may follow "taskkill /IM": a plain file name, with no path, quote,
// control character or any of &|<>^%!() that a command processor reads.
inline bool IsPlainExecutableName(const std::wstring& name) {
    if (name.empty() || name.size() > 260) return false;
    for (wchar_t c : name) {
        if (c < 0x20 || c == 0x7F) return false;
        if (std::wstring_view(L"\\/:\"'&|<>^%!()").find(c) != std::wstring_view::npos) return false;
    }
    return name != L"." && name != L"..";
}

// An application id as the Start menu gives it: one line, no quote, no control character.
inline bool IsApplicationId(const std::wstring& id) {
    if (id.empty() || id.size() > 1024) return false;
    for (wchar_t c : id)
        if (c < 0x20 || c == 0x7F || c == L'"') return false;
    return true;
}

// An install folder whose processes may be ended: an absolute folder below a drive's root, with
// no ".." step, and not the Windows folder or anything below it (the system's own processes run
// from there). The location comes from lists of installed programs that the user can write.
inline bool IsApplicationFolder(std::wstring location, std::wstring windowsFolder) {
    const auto fold = [](std::wstring& text) {
        for (wchar_t& c : text) {
            if (c == L'/') c = L'\\';
            if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
        }
        while (text.size() > 3 && text.back() == L'\\') text.pop_back();
    };
    fold(location);
    fold(windowsFolder);
    if (location.size() < 4 || location[1] != L':' || location[2] != L'\\' || location[3] == L'\\') return false;
    if (location[0] < L'a' || location[0] > L'z') return false;
    for (size_t start = 3; start <= location.size();) {
        const size_t end = std::min(location.find(L'\\', start), location.size());
        const std::wstring step = location.substr(start, end - start);
        if (step == L".." || step == L"." || step.empty()) return false;
        start = end + 1;
    }
    for (wchar_t c : location)
        if (c < 0x20 || c == L'"' || c == L'*' || c == L'?') return false;
    return !windowsFolder.empty() && location != windowsFolder && location.rfind(windowsFolder + L"\\", 0) != 0;
}

// The user's desktop, as the tool reaches it.
class IDesktop {
public:
    // The install folder of the application with this display name; nothing when none is known.
    virtual std::optional<std::wstring> InstallLocation(const std::wstring& name) = 0;
    // Opens the text file at `path` as a document in the user's default editor.
    virtual bool PresentDocument(const std::wstring& path) = 0;

protected:
    ~IDesktop() = default;
};

// The tool's line for one of kFunctions.
inline std::wstring Serve(IDesktop& desktop, const std::wstring& function, const std::wstring& argument) {
    if (function == kGetApplicationLocation) {
        const std::optional<std::wstring> location = argument.empty() ? std::nullopt : desktop.InstallLocation(argument);
        return location && !location->empty() ? *location : std::wstring(kFailure);
    }
    if (function == kWriteToDoc) return !argument.empty() && desktop.PresentDocument(argument) ? L"1" : kFailure;
    return kFailure;
}

}  // namespace Qv::Tool::Application
