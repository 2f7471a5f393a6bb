#pragma once
// Programs of the simulated laptop other than the tool (PowerShell, the shell, system programs),
// each given by the area that needs it (its sim/ folder, with its simulated tool areas). The
// launcher runs them when the service starts a process; what no area gives is not installed.
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Sim {

struct SimWorld;

struct SimRun {
    int exitCode = 0;
    std::string output;  // what it wrote to standard output and error
    // The program is not the one for these arguments: the next area's program of the same name
    // gets them (PowerShell runs the scripts of several areas). What nobody takes answers as
    // the last one declined.
    bool declined = false;
    // It writes nothing and never ends (a hung script).
    bool stalls = false;
};

// What PowerShell answers for a script no area's simulated PowerShell knows, declined so that
// the next area's may take it.
inline SimRun UnknownPowerShellScript() {
    return {1, "The term is not recognized as the name of a cmdlet.\r\n", /*declined=*/true};
}

struct SimProgram {
    const wchar_t* fileName;  // lower case, with its extension: L"powershell.exe"
    // `args` as the program receives them, its own name first. Runs under the world's lock.
    SimRun (*run)(SimWorld& world, const std::vector<std::wstring>& args);
};

// What an area gives the simulated laptop: its tool areas, its programs, and a way to arrange
// its state by name (the tool contract arranges the laptop to match the machine under Wine).
struct SimArea {
    std::span<const Tool::ToolArea<SimWorld>> toolAreas;
    std::span<const SimProgram> programs = {};
    bool (*arrange)(SimWorld& world, const std::wstring& key, const std::wstring& value) = nullptr;
};

// Arranges the area that serves the tool area `word`; false when none knows `key`.
bool ArrangeSimArea(SimWorld& world, const std::wstring& word, const std::wstring& key, const std::wstring& value);

// The program a command line's first word names (a bare name or a path; ".exe" may be left out),
// or null when no area gives it.
const SimProgram* FindSimProgram(const std::wstring& program);
// Runs the program `args[0]` names with `args`, offering them to each area's program of that
// name in turn; nothing when no area gives it. Under the world's lock.
std::optional<SimRun> RunSimProgram(SimWorld& world, const std::wstring& program, const std::vector<std::wstring>& args);

}  // namespace Qv::Sim
