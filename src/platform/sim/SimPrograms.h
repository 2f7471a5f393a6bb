#pragma once
// Programs of the simulated laptop other than the tool (PowerShell, the shell, system programs),
// each given by the area that needs it (its sim/ folder, with its simulated tool areas; the list
// is src/areas/sim/SimAreas.h). The launcher runs them when the service starts a process; what
// no area gives is not installed.
#include <optional>
#include <string>
#include <vector>

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

// Which program runs is the areas' business: the areas' floor defines these over the area list
// (src/areas/sim/SimAreas.cpp), as an adapter defines its port's Make. The launcher calls them.

// What the simulated tool prints for a command line split into words (the tool's path first).
std::string RunSimTool(SimWorld& world, const std::vector<std::wstring>& args);
// Runs the program `args[0]` names with `args`, offering them to each area's program of that
// name in turn; nothing when no area gives it. Under the world's lock.
std::optional<SimRun> RunSimProgram(SimWorld& world, const std::wstring& program, const std::vector<std::wstring>& args);

}  // namespace Qv::Sim
