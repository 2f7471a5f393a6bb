#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Qv::platform {

// One signature of a file as the system's trust provider reports it.
struct RawSignature {
    std::vector<uint8_t> publicKey;  // DER bytes of the signer certificate's public key
    int32_t status = 0;              // the trust provider's verdict (0 = trusted)
    std::wstring subject;            // X.500 text of the signer, "CN=..., O=..., L=..., S=..., C=..."
    std::wstring issuer;             // X.500 text of the signer certificate's issuer
};

// Code-signature reading (Authenticode).
class ICodeSignatures {
public:
    virtual ~ICodeSignatures() = default;
    // Every signature of the file, primary first, then each nested one; signatures without a
    // readable signer certificate are left out, and an unsigned or unreadable file has none.
    // With `useCatalog` the file is verified through the system catalog that lists it, and a
    // file that no catalog lists has no signatures.
    virtual std::vector<RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) = 0;
    // Points a trust request (the system's WINTRUST_DATA, for WinVerifyTrust) at the system
    // catalog that lists the file: 1 when one was found, 0 otherwise. What the request then
    // names is held by `keep` and must outlive the request's use.
    virtual int PointAtCatalog(const std::wstring& path, void* trustRequest, std::shared_ptr<void>& keep) = 0;
};

}  // namespace Qv::platform
