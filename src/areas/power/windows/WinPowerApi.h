#pragma once
#include <mutex>

#include "areas/power/IPowerApi.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {

// The user-configured power-mode functions of powrprof.dll (Windows 11 and later), resolved on
// first use (never under the loader lock), and GetSystemPowerStatus. powrprof.dll is loaded from the system
// folder only: a DLL of that name planted beside the host is never loaded.
class WinPowerApi : public IPowerApi {
public:
    Functions PowerModeFunctions() override;
    Result<uint8_t> AcLineStatus() override;
    Result<Guid> GetUserConfiguredPowerMode(bool onMains) override;
    Result<void> SetUserConfiguredPowerMode(bool onMains, const Guid& mode) override;

private:
    using GetFn = DWORD(WINAPI*)(GUID*);
    using SetFn = DWORD(WINAPI*)(const GUID*);
    struct Bound {
        unique_hmodule powrprof;
        GetFn getAc = nullptr;
        GetFn getDc = nullptr;
        SetFn setAc = nullptr;
        SetFn setDc = nullptr;
    };
    const Bound& Resolve();

    std::once_flag once_;
    Bound bound_;
};

}  // namespace Qv::platform::windows
