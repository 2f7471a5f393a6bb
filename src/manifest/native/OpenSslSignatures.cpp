// Detached signatures natively: libcrypto's CMS verification, the signature and the signed digest
// against the content, without a chain (the caller's key table decides whom to trust).
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/x509.h>

#include "manifest/IDetachedSignatures.h"

namespace Qv::Manifest {
namespace {

template <class T, void (*Free)(T*)>
struct Owned {
    T* object = nullptr;
    ~Owned() {
        if (object != nullptr) Free(object);
    }
};

void FreeBio(BIO* bio) { BIO_free(bio); }

class OpenSslSignatures final : public IDetachedSignatures {
public:
    platform::Result<std::vector<uint8_t>> SignerKey(const std::string& content, const std::string& signature) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(signature.data());
        Owned<CMS_ContentInfo, CMS_ContentInfo_free> message{
            d2i_CMS_ContentInfo(nullptr, &bytes, static_cast<long>(signature.size()))};
        if (message.object == nullptr) return platform::Failure{kBadSignature};
        STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(message.object);
        if (signers == nullptr || sk_CMS_SignerInfo_num(signers) != 1) return platform::Failure{kNotOneSigner};
        Owned<BIO, FreeBio> data{BIO_new_mem_buf(content.data(), static_cast<int>(content.size()))};
        if (data.object == nullptr) return platform::Failure{8};
        const unsigned int flags = CMS_DETACHED | CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY;
        if (CMS_verify(message.object, nullptr, nullptr, data.object, nullptr, flags) != 1) {
            const unsigned long error = ERR_get_error();
            ERR_clear_error();
            // A changed content fails the signed digest; anything else, the signature.
            return platform::Failure{ERR_GET_REASON(error) == CMS_R_CONTENT_VERIFY_ERROR ||
                                             ERR_GET_REASON(error) == CMS_R_VERIFICATION_FAILURE
                                         ? kDigestMismatch
                                         : kBadSignature};
        }
        STACK_OF(X509)* certificates = CMS_get0_signers(message.object);
        if (certificates == nullptr || sk_X509_num(certificates) != 1) {
            sk_X509_free(certificates);
            return platform::Failure{kNotOneSigner};
        }
        const ASN1_BIT_STRING* key = X509_get0_pubkey_bitstr(sk_X509_value(certificates, 0));
        std::vector<uint8_t> der;
        if (key != nullptr) {
            const unsigned char* begin = ASN1_STRING_get0_data(key);
            der.assign(begin, begin + ASN1_STRING_length(key));
        }
        sk_X509_free(certificates);
        if (der.empty()) return platform::Failure{kBadSignature};
        return der;
    }
};

}  // namespace

std::shared_ptr<IDetachedSignatures> IDetachedSignatures::Make(platform::Platform&) {
    return std::make_shared<OpenSslSignatures>();
}

}  // namespace Qv::Manifest
