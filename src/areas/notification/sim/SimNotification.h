#pragma once
// The signed-in user's toast setting on the simulated laptop.

namespace Qv::Sim {

struct SimToasts {
    bool toastEnabled = true;
    // A policy holds the setting: the write succeeds, the value stays.
    bool policyLocked = false;
};

}  // namespace Qv::Sim
