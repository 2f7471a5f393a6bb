#pragma once
#include "platform/IThreads.h"

namespace Qv::platform::windows {

// CreateThread with a reference on this module for each thread, let go by the thread's last act.
class WinThreads : public IThreads {
public:
    std::unique_ptr<Running> Start(std::function<void()> body) override;
};

}  // namespace Qv::platform::windows
