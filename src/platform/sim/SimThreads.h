#pragma once
#include "platform/IThreads.h"

namespace Qv::Sim {

// Plain threads: nothing is unloaded natively.
class SimThreads : public platform::IThreads {
public:
    std::unique_ptr<Running> Start(std::function<void()> body) override;
};

}  // namespace Qv::Sim
