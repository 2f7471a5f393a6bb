#include "platform/sim/SimCodeSignatures.h"

namespace Qv::Sim {

std::vector<platform::RawSignature> SimCodeSignatures::ReadSignatures(const std::wstring& path, bool useCatalog) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    const auto& source = useCatalog ? world_.catalogSignatures : world_.signatures;
    auto it = source.find(Lower(path));
    return it == source.end() ? std::vector<platform::RawSignature>{} : it->second;
}

}  // namespace Qv::Sim
