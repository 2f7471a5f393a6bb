#pragma once
// Detached PKCS#7 signatures over a file's bytes: crypt32 on Windows, libcrypto natively.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Result.h"

namespace Qv::platform {
class Platform;
}

namespace Qv::Manifest {

class IDetachedSignatures {
public:
    // Statuses of a signature refused beside the system's own.
    static constexpr int32_t kBadSignature = static_cast<int32_t>(0x80090006);  // NTE_BAD_SIGNATURE
    static constexpr int32_t kDigestMismatch = static_cast<int32_t>(0x80091007);  // CRYPT_E_HASH_VALUE
    static constexpr int32_t kNotOneSigner = static_cast<int32_t>(0x8009200E);  // CRYPT_E_NO_SIGNER

    virtual ~IDetachedSignatures() = default;
    // The DER bytes of the signer's public key (for RSA the PKCS#1 RSAPublicKey) when
    // `signature` is one signer's valid signature over exactly `content`: the signature checked
    // with the certificate the message carries, and the signed digest compared with the
    // content's. No chain is built: whom to trust is the caller's table of keys.
    virtual platform::Result<std::vector<uint8_t>> SignerKey(const std::string& content,
                                                             const std::string& signature) = 0;

    static std::shared_ptr<IDetachedSignatures> Make(platform::Platform& platform);
};

}  // namespace Qv::Manifest
