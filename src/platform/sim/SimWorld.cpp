#include "platform/sim/SimWorld.h"

#include <algorithm>
#include <cwctype>

namespace Qv::Sim {

SimWorld::SimWorld() {
    // A stock Windows installation, the service running as SYSTEM, Avery signed in.
    for (auto* env : {&environment, &userEnvironment}) {
        (*env)[L"WINDIR"] = L"C:\\Windows";
        (*env)[L"SYSTEMROOT"] = L"C:\\Windows";
        (*env)[L"PROGRAMFILES"] = L"C:\\Program Files";
        (*env)[L"PROGRAMFILES(X86)"] = L"C:\\Program Files (x86)";
        (*env)[L"PROGRAMDATA"] = L"C:\\ProgramData";
    }
    environment[L"USERPROFILE"] = L"C:\\Windows\\system32\\config\\systemprofile";
    environment[L"PATH"] = L"C:\\Windows\\system32;C:\\Windows;C:\\Windows\\System32\\WindowsPowerShell\\v1.0\\";
    userEnvironment[L"PATH"] = environment[L"PATH"];
    // The system's programs the service starts.
    for (const wchar_t* program : {L"c:\\windows\\system32\\windowspowershell\\v1.0\\powershell.exe",
                                   L"c:\\windows\\explorer.exe", L"c:\\windows\\system32\\taskkill.exe",
                                   L"c:\\windows\\system32\\cmd.exe", L"c:\\windows\\system32\\systemsettingsadminflows.exe"})
        files.insert(program);
    userEnvironment[L"USERPROFILE"] = L"C:\\Users\\Avery";
    accounts[userSecurityId] = L"Avery";
    accounts[L"S-1-5-18"] = L"SYSTEM";
}

std::wstring ThreadUser(const SimWorld& world) {
    auto found = world.impersonations.find(std::this_thread::get_id());
    if (found != world.impersonations.end()) return found->second;
    return world.runningAsSystem ? kSystemSid : L"S-1-5-20";
}

std::wstring Follow(const SimWorld& world, const std::wstring& lowerPath) {
    std::wstring resolved;
    size_t start = 0;
    // At most as many junctions as there are: a loop of junctions ends like a missing path.
    size_t followed = 0;
    while (start <= lowerPath.size()) {
        const size_t end = std::min(lowerPath.find(L'\\', start), lowerPath.size());
        resolved += (start == 0 ? L"" : L"\\") + lowerPath.substr(start, end - start);
        for (auto junction = world.junctions.find(resolved);
             junction != world.junctions.end() && followed++ <= world.junctions.size();
             junction = world.junctions.find(resolved)) {
            resolved = Lower(junction->second);
        }
        start = end + 1;
    }
    return resolved;
}

bool IsReparsePoint(const SimWorld& world, const std::wstring& lowerPath) {
    return world.reparsePoints.count(lowerPath) != 0 || world.junctions.count(lowerPath) != 0;
}

std::wstring Lower(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towlower(c); });
    return text;
}

std::wstring Upper(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towupper(c); });
    return text;
}

std::wstring Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text) {
    std::wstring out;
    size_t i = 0;
    while (i < text.size()) {
        const size_t open = text.find(L'%', i);
        const size_t close = open == std::wstring::npos ? open : text.find(L'%', open + 1);
        if (close == std::wstring::npos) {
            out.append(text, i, std::wstring::npos);
            break;
        }
        out.append(text, i, open - i);
        auto it = environment.find(Upper(text.substr(open + 1, close - open - 1)));
        if (it != environment.end()) {
            out += it->second;
            i = close + 1;
        } else {
            out += L'%';
            i = open + 1;
        }
    }
    return out;
}

}  // namespace Qv::Sim
