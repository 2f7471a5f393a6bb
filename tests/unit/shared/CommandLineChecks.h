#pragma once
// What must hold for every text that reaches a command line or a script: a client's application
// name, an install location from the user's lists, an endpoint id, an executable name. Each
// builder's line, split as the program splits it (and the script read as PowerShell reads its
// single-quoted strings), gives the text back whole in its one place, and nothing was added: no
// argument, no command, no script statement. Shared by the property test and the fuzz target;
// each check answers what went wrong, or an empty text.
#include <string>
#include <vector>

#include "areas/applications/ApplicationProtocol.h"
#include "areas/audio/RealtekScripts.h"
#include "core/command_line.h"
#include "shared/powershell/PowerShellQuoting.h"
#include "shared/tool/ToolRunner.h"

namespace Qv::Tests::CommandLines {

inline const std::wstring kPowerShell = L"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe";

// The single-quoted literal that follows `before` in `script`, read back, with `after` the rest.
inline std::string LiteralBetween(const std::wstring& script, const std::wstring& before, const std::wstring& after,
                                  std::wstring& literal) {
    if (script.rfind(before, 0) != 0) return "the script does not start as written";
    std::wstring rest;
    const auto read = PowerShell::ReadQuotedLiteral(script.substr(before.size()), &rest);
    if (!read) return "the literal does not close";
    if (rest != after) return "the script goes on other than written after the literal";
    literal = *read;
    return "";
}

inline std::string CheckTool(const std::wstring& text) {
    if (Core::HasNul(text)) return "";  // refused before a line is made
    const auto args = Core::SplitCommandLine(Bridge::Server::Services::DeviceControl::ToolRunner::CommandLine(
        L"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe", L"Application", L"GetApplicationLocation", text));
    if (args.size() != 4) return "the tool's line splits into " + std::to_string(args.size()) + " arguments";
    if (args[3] != text) return "the tool's argument is not the text";
    return "";
}

inline std::string CheckPowerShell(const std::wstring& line, std::wstring& script) {
    const auto args = Core::SplitCommandLine(line);
    if (args.size() != 5) return "PowerShell's line splits into " + std::to_string(args.size()) + " arguments";
    if (args[0] != kPowerShell || args[1] != L"-NoProfile" || args[2] != L"-NonInteractive" || args[3] != L"-Command")
        return "PowerShell starts with other switches";
    script = args[4];
    return "";
}

inline std::string CheckApplicationName(const std::wstring& text) {
    if (Core::HasNul(text)) return "";
    namespace Words = Tool::Application;
    std::wstring script;
    std::wstring literal;
    std::string problem = CheckPowerShell(Words::StartAppsCommand(kPowerShell, text), script);
    if (problem.empty()) problem = LiteralBetween(script, Words::kStartAppsBefore, Words::kStartAppsAfter, literal);
    if (problem.empty() && literal != text) problem = "the name read back differs";
    return problem;
}

inline std::string CheckLocation(const std::wstring& text) {
    if (Core::HasNul(text)) return "";
    namespace Words = Tool::Application;
    std::wstring script;
    std::wstring literal;
    const std::wstring after = Words::kProcessAfter;
    std::string problem = CheckPowerShell(Words::ProcessCommand(kPowerShell, text), script);
    if (problem.empty()) problem = LiteralBetween(script, Words::kProcessBefore, after.substr(1), literal);
    if (!problem.empty()) return problem;
    // The pattern -like reads: every wildcard character of the text escaped, then the one "*"
    // that makes it a prefix.
    if (literal.empty() || literal.back() != L'*') return "the pattern lost its closing wildcard";
    literal.pop_back();
    std::wstring unescaped;
    for (size_t i = 0; i < literal.size(); ++i) {
        if (PowerShell::IsWildcard(literal[i])) {
            if (literal[i] != L'`' || i + 1 >= literal.size() || !PowerShell::IsWildcard(literal[i + 1]))
                return "a wildcard of the location is not escaped";
            ++i;
        }
        unescaped += literal[i];
    }
    return unescaped == text ? "" : "the location read back differs";
}

// The vendor's script is several arguments, as the vendor wrote it (PowerShell joins what follows
// -Command with blanks): with the endpoint id in it, it splits as it does with a plain id, and
// the joined script differs only in the literal, which reads back as the id.
inline std::string CheckEndpointId(const std::wstring& text) {
    if (Core::HasNul(text)) return "";
    const auto split = [](const std::wstring& id, std::wstring& script) {
        const auto args = Core::SplitCommandLine(L"\"" + kPowerShell + L"\"" + Audio::Realtek::NoiseControlScript(id, true));
        for (size_t i = 6; i < args.size(); ++i) script += (i > 6 ? L" " : L"") + args[i];
        return args.size();
    };
    std::wstring plain;
    std::wstring script;
    if (split(text, script) != split(L"id", plain)) return "the endpoint id changed the vendor's arguments";
    const std::wstring marker = L"$DevicePathEndpointId = '";
    const size_t at = script.find(marker);
    if (at == std::wstring::npos || script.compare(0, at, plain, 0, plain.find(marker)) != 0)
        return "the script before the endpoint id differs";
    std::wstring rest;
    std::wstring plainRest;
    const auto read = PowerShell::ReadQuotedLiteral(script.substr(at + marker.size()), &rest);
    (void)PowerShell::ReadQuotedLiteral(plain.substr(plain.find(marker) + marker.size()), &plainRest);
    if (!read || *read != text) return "the endpoint id read back differs";
    if (rest != plainRest) return "the script goes on other than written after the endpoint id";
    return "";
}

inline std::string CheckExecutableName(const std::wstring& text) {
    namespace Words = Tool::Application;
    if (!Words::IsPlainExecutableName(text)) return "";
    const auto args = Core::SplitCommandLine(Words::TaskKillCommand(L"C:\\Windows\\system32\\taskkill.exe", 1, text));
    const std::vector<std::wstring> expected{L"C:\\Windows\\system32\\taskkill.exe", L"/F", L"/T", L"/FI", L"SESSION eq 1",
                                             L"/IM", text};
    return args == expected ? "" : "taskkill's line is not the one written";
}

inline std::string CheckApplicationId(const std::wstring& text) {
    namespace Words = Tool::Application;
    if (!Words::IsApplicationId(text)) return "";
    const auto args = Core::SplitCommandLine(Words::OpenAppsFolderCommand(L"C:\\Windows\\explorer.exe", text));
    if (args.size() != 2 || args[1] != Words::kAppsFolder + text) return "explorer's line is not the one written";
    return "";
}

// Every check of `text`; the first problem with its check's name.
inline std::string CheckAll(const std::wstring& text) {
    const std::pair<const char*, std::string (*)(const std::wstring&)> checks[] = {
        {"tool", &CheckTool},           {"application name", &CheckApplicationName},
        {"location", &CheckLocation},   {"endpoint id", &CheckEndpointId},
        {"executable", &CheckExecutableName}, {"application id", &CheckApplicationId}};
    for (const auto& [name, check] : checks) {
        const std::string problem = check(text);
        if (!problem.empty()) return std::string(name) + ": " + problem;
    }
    return "";
}

}  // namespace Qv::Tests::CommandLines
