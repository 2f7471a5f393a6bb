#pragma once
#include "platform/ICodeSignatures.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Signatures as the world says the files are signed.
class SimCodeSignatures : public platform::ICodeSignatures {
public:
    explicit SimCodeSignatures(SimWorld& world) : world_(world) {}
    std::vector<platform::RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) override;

private:
    SimWorld& world_;
};

}  // namespace Qv::Sim
