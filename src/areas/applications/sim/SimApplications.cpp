// The simulated tool's application area (the real one is tool/ApplicationTool.cpp), and the
// programs the applications commands run: PowerShell (the two scripts the service sends, read
// with PowerShell's own quoting, patterns matched as -like does), the shell's apps folder and
// taskkill (in a session, as its caller). A script of any other shape is refused as PowerShell
// would fail it, so a client text that escaped its quotes shows.
#include "areas/applications/sim/SimApplications.h"

#include <algorithm>
#include <span>

#include "areas/applications/ApplicationProtocol.h"
#include "core/strings.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {
namespace {

namespace Words = Tool::Application;

class Desktop final : public Words::IDesktop {
public:
    explicit Desktop(SimWorld& world) : world_(world), state_(world.tool.Area<SimApplications>()) {}
    std::optional<std::wstring> InstallLocation(const std::wstring& name) override {
        auto found = state_.installLocations.find(name);
        if (found == state_.installLocations.end()) return std::nullopt;
        return found->second;
    }
    bool PresentDocument(const std::wstring& path) override {
        auto text = world_.contents.find(Lower(path));
        if (text == world_.contents.end() || !text->second) return false;
        state_.documents.Add({path, *text->second});
        return true;
    }

private:
    SimWorld& world_;
    SimApplications& state_;
};

std::wstring Serve(SimWorld& world, const std::wstring& function, const std::wstring& argument) {
    Desktop desktop(world);
    return Words::Serve(desktop, function, argument);
}

// The body of a single-quoted PowerShell string that starts `text`, up to the closing quote with
// which `after` begins; nothing when the rest is not exactly `after` (the text broke out).
std::optional<std::wstring> QuotedLiteral(const std::wstring& text, const std::wstring& after) {
    std::wstring rest;
    auto literal = PowerShell::ReadQuotedLiteral(text, &rest);
    if (!literal || rest != after) return std::nullopt;
    return literal;
}

// What -like matches, without regard to case: * any run, ? one character, [abc] one of a set,
// and a backtick takes the next character literally.
bool Like(const std::wstring& text, const std::wstring& pattern, size_t t = 0, size_t p = 0) {
    for (; p < pattern.size(); ++p, ++t) {
        const wchar_t c = pattern[p];
        if (c == L'*') {
            for (size_t rest = t; rest <= text.size(); ++rest)
                if (Like(text, pattern, rest, p + 1)) return true;
            return false;
        }
        if (t >= text.size()) return false;
        if (c == L'?') continue;
        if (c == L'[') {
            const size_t close = pattern.find(L']', p);
            if (close == std::wstring::npos) return false;  // PowerShell: the pattern is not valid
            const std::wstring set = Lower(pattern.substr(p + 1, close - p - 1));
            if (set.find(Lower(text.substr(t, 1))) == std::wstring::npos) return false;
            p = close;
            continue;
        }
        const wchar_t literal = c == L'`' && p + 1 < pattern.size() ? pattern[++p] : c;
        if (Lower(std::wstring(1, literal)) != Lower(text.substr(t, 1))) return false;
    }
    return t == text.size();
}

// powershell.exe -NoProfile -NonInteractive -Command <script>: PowerShell joins what follows
// -Command into one script. Started any other way it is not the service's.
SimRun PowerShell(SimWorld& world, const std::vector<std::wstring>& args) {
    if (args.size() < 5 || args[1] != L"-NoProfile" || args[2] != L"-NonInteractive" || args[3] != L"-Command")
        return UnknownPowerShellScript();
    std::wstring script = args[4];
    for (size_t i = 5; i < args.size(); ++i) script += L" " + args[i];
    SimApplications& apps = world.tool.Area<SimApplications>();
    apps.scripts.Add(script);
    const std::wstring startAppsBefore = Words::kStartAppsBefore;
    const std::wstring processBefore = Words::kProcessBefore;
    if (script.starts_with(startAppsBefore)) {
        const auto name = QuotedLiteral(script.substr(startAppsBefore.size()), Words::kStartAppsAfter);
        if (!name) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        // -eq compares texts without regard to case.
        for (const auto& [display, id] : apps.startApps)
            if (Lower(display) == Lower(*name)) return {0, Core::Narrow(id) + "\r\n"};
        return {0, ""};
    }
    if (script.starts_with(processBefore)) {
        const std::wstring after = Words::kProcessAfter;
        auto pattern = QuotedLiteral(script.substr(processBefore.size()), after.substr(after.find(L'\'')));
        if (!pattern) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        *pattern += L'*';
        for (const SimProcess& process : apps.processes)
            if (Like(process.path, *pattern)) return {0, Core::Narrow(process.name) + "\r\n"};
        return {0, ""};
    }
    return UnknownPowerShellScript();
}

// explorer.exe shell:appsFolder\<id>
SimRun Explorer(SimWorld& world, const std::vector<std::wstring>& args) {
    const std::wstring prefix = Words::kAppsFolder;
    if (args.size() != 2 || !args[1].starts_with(prefix)) return {1, ""};
    world.tool.Area<SimApplications>().opened.Add(args[1].substr(prefix.size()));
    return {0, ""};
}

// taskkill /F /T /FI "SESSION eq <n>" /IM <name>: ends the processes of that name in that session
// that its caller may end (a user none of the system's); 128 when there is none.
SimRun TaskKill(SimWorld& world, const std::vector<std::wstring>& args) {
    const std::wstring session = L"SESSION eq ";
    if (args.size() != 7 || args[1] != L"/F" || args[2] != L"/T" || args[3] != L"/FI" || !args[4].starts_with(session) ||
        args[5] != L"/IM")
        return {1, ""};
    const std::wstring number = args[4].substr(session.size());
    SimApplications& apps = world.tool.Area<SimApplications>();
    const auto matches = [&](const SimProcess& process) {
        return Lower(process.name) == Lower(args[6]) && std::to_wstring(process.session) == number;
    };
    if (std::none_of(apps.processes.begin(), apps.processes.end(), matches)) return {128, ""};
    const bool asUser = world.runAs == SimWorld::RunAs::User;
    const auto ends = [&](const SimProcess& process) { return matches(process) && !(asUser && process.systemOwned); };
    const bool denied = std::any_of(apps.processes.begin(), apps.processes.end(),
                                    [&](const SimProcess& process) { return matches(process) && !ends(process); });
    if (std::any_of(apps.processes.begin(), apps.processes.end(), ends)) apps.ended.Add(args[6]);
    std::erase_if(apps.processes, ends);
    if (denied) return {1, "ERROR: The process could not be terminated. Reason: Access is denied.\r\n"};
    return {0, ""};
}

}  // namespace

SimArea ApplicationSimArea() {
    static const Tool::ToolArea<SimWorld> areas[] = {{Words::kArea, Words::kFunctions, &Serve}};
    static const SimProgram programs[] = {
        {L"powershell.exe", &PowerShell}, {L"explorer.exe", &Explorer}, {L"taskkill.exe", &TaskKill}};
    return {areas, programs};
}

}  // namespace Qv::Sim
