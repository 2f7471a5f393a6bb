// The simulated tool's application area (the real one is tool/ApplicationTool.cpp), and the
// programs the applications commands run: PowerShell (the two scripts the service sends, read
// with PowerShell's own quoting), the shell's apps folder and taskkill. A script of any other
// shape is refused as PowerShell would fail it, so a client text that escaped its quotes shows.
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

bool StartsWithNoCase(const std::wstring& text, const std::wstring& prefix) {
    return text.size() >= prefix.size() && Lower(text.substr(0, prefix.size())) == Lower(prefix);
}

// powershell.exe -Command <script>: PowerShell joins what follows -Command into one script.
SimRun PowerShell(SimWorld& world, const std::vector<std::wstring>& args) {
    if (args.size() < 3 || args[1] != L"-Command") return UnknownPowerShellScript();
    std::wstring script = args[2];
    for (size_t i = 3; i < args.size(); ++i) script += L" " + args[i];
    SimApplications& apps = world.tool.Area<SimApplications>();
    apps.scripts.Add(script);
    // The script pieces as the argument parser leaves them: without the outer double quotes.
    const auto inner = [](const wchar_t* piece, bool before) {
        std::wstring text(piece);
        if (before) return text.substr(text.find(L'"') + 1);
        return text.substr(0, text.rfind(L'"'));
    };
    const std::wstring startAppsBefore = inner(Words::kStartAppsBefore, true);
    const std::wstring processBefore = inner(Words::kProcessBefore, true);
    if (script.starts_with(startAppsBefore)) {
        const auto name = QuotedLiteral(script.substr(startAppsBefore.size()), inner(Words::kStartAppsAfter, false));
        if (!name) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        // -eq compares texts without regard to case.
        for (const auto& [display, id] : apps.startApps)
            if (Lower(display) == Lower(*name)) return {0, Core::Narrow(id) + "\r\n"};
        return {0, ""};
    }
    if (script.starts_with(processBefore)) {
        // The pattern is the location and a trailing "*": -like then matches what starts with it.
        const std::wstring after = inner(Words::kProcessAfter, false);
        auto pattern = QuotedLiteral(script.substr(processBefore.size()), after.substr(after.find(L'\'')));
        if (!pattern || !pattern->ends_with(L'*')) return {1, "ParserError: Unexpected token in expression or statement.\r\n"};
        pattern->pop_back();
        for (const SimProcess& process : apps.processes)
            if (StartsWithNoCase(process.path, *pattern)) return {0, Core::Narrow(process.name) + "\r\n"};
        return {0, ""};
    }
    return UnknownPowerShellScript();
}

// explorer.exe shell:appsFolder\<id>
SimRun Explorer(SimWorld& world, const std::vector<std::wstring>& args) {
    const std::wstring prefix = L"shell:appsFolder\\";
    if (args.size() != 2 || !args[1].starts_with(prefix)) return {1, ""};
    world.tool.Area<SimApplications>().opened.Add(args[1].substr(prefix.size()));
    return {0, ""};
}

// taskkill /F /T /IM <name>: ends every process of that name, 128 when there is none.
SimRun TaskKill(SimWorld& world, const std::vector<std::wstring>& args) {
    if (args.size() != 5 || args[1] != L"/F" || args[2] != L"/T" || args[3] != L"/IM") return {1, ""};
    SimApplications& apps = world.tool.Area<SimApplications>();
    const auto matches = [&](const SimProcess& process) { return Lower(process.name) == Lower(args[4]); };
    if (std::none_of(apps.processes.begin(), apps.processes.end(), matches)) return {128, ""};
    std::erase_if(apps.processes, matches);
    apps.ended.Add(args[4]);
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
