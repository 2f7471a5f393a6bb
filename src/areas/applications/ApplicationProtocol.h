#pragma once
// The applications area: the tool's words (area "Application") and its answers, and the command
// texts the service runs as the user, with the one quoting rule that keeps a client's text inside
// its quotes. Used by ApplicationHelper, the real tool (tool/ApplicationTool.cpp) and the
// simulated laptop (sim/SimApplications.cpp).
#include <optional>
#include <string>

#include "shared/powershell/PowerShellQuoting.h"
#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Application {

inline constexpr wchar_t kArea[] = L"Application";
inline constexpr wchar_t kGetApplicationLocation[] = L"GetApplicationLocation";
inline constexpr wchar_t kWriteToDoc[] = L"WriteToDoc";
inline constexpr const wchar_t* kFunctions[] = {kGetApplicationLocation, kWriteToDoc};
inline constexpr Reply kReply = Reply::MinusOneFails;

// The commands run as the user. Each client text stands inside single quotes of the PowerShell
// script, which is one double-quoted argument of powershell.exe.
inline constexpr wchar_t kStartAppsBefore[] = L"powershell.exe -Command \"Get-StartApps | Where-Object { $_.name -eq '";
inline constexpr wchar_t kStartAppsAfter[] = L"' } | Select-Object -ExpandProperty AppID -First 1\"";
inline constexpr wchar_t kProcessBefore[] =
    L"powershell.exe -Command \"Get-WmiObject Win32_Process | Where-Object { $_.Path -like '";
inline constexpr wchar_t kProcessAfter[] = L"*' } | Select-Object -ExpandProperty Name -First 1\"";
inline constexpr wchar_t kOpenAppsFolder[] = L"explorer.exe shell:appsFolder\\";
// Run by the service itself through the command processor.
inline constexpr char kTaskKill[] = "taskkill /F /T /IM ";

using PowerShell::IsPowerShellQuote;
using PowerShell::QuoteForScript;

// An executable name that may follow "taskkill /IM" on a command processor's line: a plain file
// name, with no path, quote, control character or any of &|<>^%!() that the processor reads.
inline bool IsPlainExecutableName(const std::wstring& name) {
    if (name.empty() || name.size() > 260) return false;
    for (wchar_t c : name) {
        if (c < 0x20 || c == 0x7F) return false;
        if (std::wstring_view(L"\\/:\"'&|<>^%!()").find(c) != std::wstring_view::npos) return false;
    }
    return name != L"." && name != L"..";
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
