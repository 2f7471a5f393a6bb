#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

std::string_view PortName(SimPort port) {
    switch (port) {
        case SimPort::Uuids: return "IUuidGenerator";
        case SimPort::Events: return "INamedEvents";
        case SimPort::Signatures: return "ICodeSignatures";
        case SimPort::Files: return "IFileSystem";
        case SimPort::User: return "IUserSession";
        case SimPort::Processes: return "IProcessLauncher";
        case SimPort::Rpc: return "IRpcCall";
        case SimPort::Wmi: return "IWmi";
        case SimPort::Packages: return "IStorePackages";
        case SimPort::AudioEndpoints: return "IAudioEndpoints";
        case SimPort::ServiceStatus: return "IServiceStatus";
        case SimPort::DisplayControl: return "IDisplayControl";
        case SimPort::StoreFiles: return "IStoreFiles";
        case SimPort::Battery: return "IBattery";
        case SimPort::MemoryStatus: return "IMemoryStatus";
        case SimPort::PowerApi: return "IPowerApi";
        case SimPort::UserRegistry: return "IUserRegistry";
        case SimPort::Base64: return "IBase64";
    }
    return "?";
}

void SimFaults::FailNth(SimPort port, uint64_t nth, int32_t status) {
    std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[static_cast<size_t>(port)];
    slot.failAt = nth == 0 ? 0 : slot.calls + nth;
    slot.status = status;
}

void SimFaults::Reset() {
    std::lock_guard<std::mutex> lock(mutex_);
    slots_ = {};
}

std::optional<int32_t> SimFaults::Enter(SimPort port) {
    std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[static_cast<size_t>(port)];
    if (++slot.calls != slot.failAt) return std::nullopt;
    slot.failAt = 0;
    return slot.status;
}

uint64_t SimFaults::Calls(SimPort port) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return slots_[static_cast<size_t>(port)].calls;
}

bool SimFaults::Pending(SimPort port) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return slots_[static_cast<size_t>(port)].failAt != 0;
}

}  // namespace Qv::Sim
