#pragma once
// The signed-in user's toast setting on the simulated laptop.

namespace Qv::Sim {

struct SimToasts {
    bool toastEnabled = true;
};

}  // namespace Qv::Sim
