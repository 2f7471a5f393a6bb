#pragma once
#include "platform/ICodeSignatures.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Signatures as the world says the files are signed.
class SimCodeSignatures : public platform::ICodeSignatures {
public:
    explicit SimCodeSignatures(SimWorld& world) : world_(world) {}
    std::vector<platform::RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) override;
    // 1 for a file the world lists in a catalog; the request itself is left alone.
    int PointAtCatalog(const std::wstring& path, void* trustRequest, std::shared_ptr<void>& keep) override;

private:
    SimWorld& world_;
};

}  // namespace Qv::Sim
