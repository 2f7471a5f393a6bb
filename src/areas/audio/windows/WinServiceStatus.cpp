// The state of another service, from the service control manager.
#include <windows.h>

#include "areas/audio/IServiceStatus.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

class WinServiceStatus final : public IServiceStatus {
public:
    Result<bool> IsRunning(const std::wstring& name) override {
        unique_schandle manager(OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, SC_MANAGER_CONNECT));
        if (!manager) return Failure{static_cast<int32_t>(GetLastError())};
        unique_schandle service(OpenServiceW(manager.get(), name.c_str(), GENERIC_READ));
        if (!service) return Failure{static_cast<int32_t>(GetLastError())};
        SERVICE_STATUS status{};
        if (!QueryServiceStatus(service.get(), &status)) return Failure{static_cast<int32_t>(GetLastError())};
        return status.dwCurrentState == SERVICE_RUNNING;
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IServiceStatus> Qv::platform::IServiceStatus::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinServiceStatus>();
}
