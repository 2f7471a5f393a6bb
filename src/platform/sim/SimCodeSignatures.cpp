#include "platform/sim/SimCodeSignatures.h"

namespace Qv::Sim {

std::vector<platform::RawSignature> SimCodeSignatures::ReadSignatures(const std::wstring& path, bool useCatalog) {
    const auto fault = world_.faults.Enter(SimPort::Signatures);
    std::lock_guard<std::mutex> lock(world_.mutex);
    const auto& source = useCatalog ? world_.catalogSignatures : world_.signatures;
    auto it = source.find(Lower(path));
    std::vector<platform::RawSignature> signatures = it == source.end() ? std::vector<platform::RawSignature>{} : it->second;
    // A failed verification still names the signers, with the trust provider's status.
    if (fault)
        for (auto& signature : signatures) signature.status = *fault;
    return signatures;
}

int SimCodeSignatures::PointAtCatalog(const std::wstring& path, void* /*trustRequest*/, std::shared_ptr<void>& keep) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (world_.catalogSignatures.count(Lower(path)) == 0) return 0;
    keep = std::make_shared<std::wstring>(path);
    return 1;
}

}  // namespace Qv::Sim
