#pragma once
// The applications of the simulated laptop: what the Start menu lists, where applications are
// installed, what runs, and what the user was shown.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/sim/Recent.h"

namespace Qv::Sim {

struct SimProcess {
    std::wstring path;  // C:\Program Files\Notes\notes.exe
    std::wstring name;  // notes.exe
    uint32_t session = 1;      // the signed-in user's session
    bool systemOwned = false;  // runs as SYSTEM (csrss.exe, winlogon.exe): the user cannot end it
};

struct SimApplications {
    std::map<std::wstring, std::wstring> startApps;         // display name -> application id
    std::map<std::wstring, std::wstring> installLocations;  // display name -> install folder
    std::vector<SimProcess> processes;
    Recent<std::wstring> opened;                    // application ids opened through the apps folder
    Recent<std::wstring> ended;                     // executable names taskkill ended
    Recent<std::wstring> scripts;                   // every PowerShell script run, as PowerShell read it
    Recent<std::pair<std::wstring, std::string>> documents;  // path and text shown to the user
};

}  // namespace Qv::Sim
