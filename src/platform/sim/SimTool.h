#pragma once
// The simulated DeviceControlTool.exe's state: "<tool> <area> <function> <argument>", one line
// out. It knows the areas of the area list, each through its sim/ folder (RunSimTool, run by the
// areas' floor), and answers with the same protocol header as the real tool; what it does not
// know it refuses, as the real tool does.
#include <map>
#include <string>
#include <vector>

#include "core/type_slots.h"
#include "platform/sim/Recent.h"

namespace Qv::Sim {

struct SimWorld;

struct SimTool {
    // An area's state on the simulated laptop (its type lives in the area's sim/ folder),
    // made with its defaults on first use. The simulated programs keep theirs here too.
    template <class State>
    State& Area() {
        return areas.GetOrMake<State>();
    }

    // Scripted replies by function word, taking precedence over the tool's own behaviour for a
    // known area and function (e.g. "GetMouseSpeed" -> "-1\r\n").
    std::map<std::wstring, std::string> replies;
    bool failsToStart = false;
    // Requests refused for an unknown area or function, or the wrong number of words.
    Recent<std::wstring> refused;

    Core::TypeSlots areas;
};

}  // namespace Qv::Sim
