#include "areas/power/windows/WinPowerApi.h"

#include <cstring>

namespace Qv::platform::windows {
namespace {

GUID ToSystem(const Guid& guid) {
    GUID system{guid.data1, guid.data2, guid.data3, {}};
    std::memcpy(system.Data4, guid.data4.data(), sizeof system.Data4);
    return system;
}

Guid FromSystem(const GUID& system) {
    Guid guid{static_cast<uint32_t>(system.Data1), system.Data2, system.Data3, {}};
    std::memcpy(guid.data4.data(), system.Data4, guid.data4.size());
    return guid;
}

}  // namespace

const WinPowerApi::Bound& WinPowerApi::Resolve() {
    std::call_once(once_, [this] {
        bound_.powrprof.reset(LoadLibraryExW(L"powrprof.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
        if (!bound_.powrprof) return;
        bound_.getAc = proc_address<GetFn>(bound_.powrprof.get(), "PowerGetUserConfiguredACPowerMode");
        bound_.getDc = proc_address<GetFn>(bound_.powrprof.get(), "PowerGetUserConfiguredDCPowerMode");
        bound_.setAc = proc_address<SetFn>(bound_.powrprof.get(), "PowerSetUserConfiguredACPowerMode");
        bound_.setDc = proc_address<SetFn>(bound_.powrprof.get(), "PowerSetUserConfiguredDCPowerMode");
    });
    return bound_;
}

IPowerApi::Functions WinPowerApi::PowerModeFunctions() {
    const Bound& bound = Resolve();
    return {bound.getAc != nullptr, bound.getDc != nullptr, bound.setAc != nullptr, bound.setDc != nullptr};
}

Result<uint8_t> WinPowerApi::AcLineStatus() {
    SYSTEM_POWER_STATUS status{};
    if (!GetSystemPowerStatus(&status)) return Failure{static_cast<int32_t>(GetLastError())};
    return static_cast<uint8_t>(status.ACLineStatus);
}

Result<Guid> WinPowerApi::GetUserConfiguredPowerMode(bool onMains) {
    const GetFn get = onMains ? Resolve().getAc : Resolve().getDc;
    if (get == nullptr) return Failure{ERROR_PROC_NOT_FOUND};
    GUID mode{};
    const DWORD result = get(&mode);
    if (result != ERROR_SUCCESS) return Failure{static_cast<int32_t>(result)};
    return FromSystem(mode);
}

Result<void> WinPowerApi::SetUserConfiguredPowerMode(bool onMains, const Guid& mode) {
    const SetFn set = onMains ? Resolve().setAc : Resolve().setDc;
    if (set == nullptr) return Failure{ERROR_PROC_NOT_FOUND};
    const GUID system = ToSystem(mode);
    const DWORD result = set(&system);
    if (result != ERROR_SUCCESS) return Failure{static_cast<int32_t>(result)};
    return Success();
}

}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IPowerApi> Qv::platform::IPowerApi::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinPowerApi>();
}
