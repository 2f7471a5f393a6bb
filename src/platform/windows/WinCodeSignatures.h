#pragma once
#include "platform/ICodeSignatures.h"

namespace Qv::platform::windows {

// WinVerifyTrust with signature settings (primary and nested signatures), the signer
// certificate from the provider data, and the catalog lookup for catalog-signed files.
class WinCodeSignatures : public ICodeSignatures {
public:
    std::vector<RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) override;
    int PointAtCatalog(const std::wstring& path, void* trustRequest, std::shared_ptr<void>& keep) override;
};

}  // namespace Qv::platform::windows
