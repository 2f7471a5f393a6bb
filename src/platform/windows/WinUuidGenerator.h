#pragma once
#include "platform/IUuidGenerator.h"

namespace Qv::platform::windows {

// UuidCreate and UuidToStringW.
class WinUuidGenerator : public IUuidGenerator {
public:
    Result<std::wstring> NewUuidString() override;
};

}  // namespace Qv::platform::windows
