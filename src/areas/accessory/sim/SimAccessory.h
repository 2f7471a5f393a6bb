#pragma once
// The signed-in user's mouse on the simulated laptop, as the simulated tool's mouse area sees it.

namespace Qv::Sim {

struct SimMouse {
    int mouseSpeed = 10;
    bool buttonsSwapped = false;
    // A policy holds the pointer speed: the system takes a new one without keeping it.
    bool speedLocked = false;
};

}  // namespace Qv::Sim
