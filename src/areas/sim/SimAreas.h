#pragma once
// What each area gives the simulated laptop, and the dispatch over the area list: the simulated
// tool's areas, the areas' programs (PowerShell, the shell, system programs) and the arranging of
// their state by name. The simulated launcher reaches the dispatch through RunSimTool and
// RunSimProgram, declared on the floor below (platform/sim/SimPrograms.h).
#include <span>
#include <string>

#include "platform/sim/SimPrograms.h"
#include "shared/tool/ToolProtocol.h"

namespace Qv::Sim {

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

}  // namespace Qv::Sim
