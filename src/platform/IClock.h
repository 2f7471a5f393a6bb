#pragma once
#include <cstdint>

namespace Qv::platform {

class IClock {
public:
    virtual ~IClock() = default;
    virtual void Sleep(uint32_t milliseconds) = 0;
};

}  // namespace Qv::platform
