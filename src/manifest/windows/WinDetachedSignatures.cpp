// Detached signatures on Windows: crypt32's message functions. The message is decoded with the
// content given apart, the signature checked with the certificate the message carries, and the
// signed digest compared with the content's digest here as well (Wine's crypt32 checks only the
// signature over the signed attributes, so a changed content would otherwise pass there).
#include <windows.h>
#include <wincrypt.h>

#include <cstring>

#include "manifest/IDetachedSignatures.h"
#include "platform/windows/raii/owner.h"

namespace Qv::Manifest {
namespace {

using platform::windows::unique_any;

void CloseMessage(HCRYPTMSG message) { CryptMsgClose(message); }
void CloseStore(HCERTSTORE store) { CertCloseStore(store, 0); }
void FreeCertificate(PCCERT_CONTEXT certificate) { CertFreeCertificateContext(certificate); }

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

int32_t LastError() { return static_cast<int32_t>(HRESULT_FROM_WIN32(GetLastError())); }

// A parameter of the message as bytes; empty when it has none.
bool Parameter(HCRYPTMSG message, DWORD type, DWORD index, std::vector<BYTE>& bytes) {
    DWORD size = 0;
    if (!CryptMsgGetParam(message, type, index, nullptr, &size)) return false;
    bytes.assign(size, 0);
    if (size != 0 && !CryptMsgGetParam(message, type, index, bytes.data(), &size)) return false;
    bytes.resize(size);
    return true;
}

class WinDetachedSignatures final : public IDetachedSignatures {
public:
    platform::Result<std::vector<uint8_t>> SignerKey(const std::string& content, const std::string& signature) override {
        unique_any<HCRYPTMSG, &CloseMessage> message(
            CryptMsgOpenToDecode(kEncoding, CMSG_DETACHED_FLAG, 0, 0, nullptr, nullptr));
        if (!message) return platform::Failure{LastError()};
        if (!CryptMsgUpdate(message.get(), reinterpret_cast<const BYTE*>(signature.data()),
                            static_cast<DWORD>(signature.size()), TRUE) ||
            !CryptMsgUpdate(message.get(), reinterpret_cast<const BYTE*>(content.data()),
                            static_cast<DWORD>(content.size()), TRUE))
            return platform::Failure{kBadSignature};
        DWORD signers = 0;
        DWORD size = sizeof(signers);
        if (!CryptMsgGetParam(message.get(), CMSG_SIGNER_COUNT_PARAM, 0, &signers, &size) || signers != 1)
            return platform::Failure{kNotOneSigner};

        // The signer's certificate, as the message names it (issuer and serial number).
        std::vector<BYTE> signerInfo;
        if (!Parameter(message.get(), CMSG_SIGNER_CERT_INFO_PARAM, 0, signerInfo) || signerInfo.empty())
            return platform::Failure{kNotOneSigner};
        unique_any<HCERTSTORE, &CloseStore> store(
            CertOpenStore(CERT_STORE_PROV_MSG, kEncoding, 0, 0, message.get()));
        if (!store) return platform::Failure{LastError()};
        unique_any<PCCERT_CONTEXT, &FreeCertificate> certificate(CertFindCertificateInStore(
            store.get(), kEncoding, 0, CERT_FIND_SUBJECT_CERT, signerInfo.data(), nullptr));
        if (!certificate) return platform::Failure{LastError()};
        if (!CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE, certificate.get()->pCertInfo))
            return platform::Failure{kBadSignature};

        // The digest the signer signed, when the signature covers signed attributes, must be the
        // content's. Without signed attributes the signature itself is over the content.
        std::vector<BYTE> attributes;
        if (Parameter(message.get(), CMSG_SIGNER_AUTH_ATTR_PARAM, 0, attributes) && !attributes.empty()) {
            const auto* list = reinterpret_cast<const CRYPT_ATTRIBUTES*>(attributes.data());
            std::vector<BYTE> computed;
            if (!Parameter(message.get(), CMSG_COMPUTED_HASH_PARAM, 0, computed) || computed.empty())
                return platform::Failure{kDigestMismatch};
            bool matched = false;
            for (DWORD i = 0; i < list->cAttr; ++i) {
                const CRYPT_ATTRIBUTE& attribute = list->rgAttr[i];
                if (std::strcmp(attribute.pszObjId, szOID_RSA_messageDigest) != 0 || attribute.cValue != 1) continue;
                DWORD decodedSize = 0;
                const CRYPT_ATTR_BLOB& value = attribute.rgValue[0];
                if (!CryptDecodeObjectEx(kEncoding, X509_OCTET_STRING, value.pbData, value.cbData, 0, nullptr, nullptr,
                                         &decodedSize))
                    return platform::Failure{kDigestMismatch};
                std::vector<BYTE> decoded(decodedSize);
                if (!CryptDecodeObjectEx(kEncoding, X509_OCTET_STRING, value.pbData, value.cbData, 0, nullptr,
                                         decoded.data(), &decodedSize))
                    return platform::Failure{kDigestMismatch};
                const auto* digest = reinterpret_cast<const CRYPT_DATA_BLOB*>(decoded.data());
                matched = digest->cbData == computed.size() &&
                          std::memcmp(digest->pbData, computed.data(), computed.size()) == 0;
            }
            if (!matched) return platform::Failure{kDigestMismatch};
        }

        const CRYPT_BIT_BLOB& key = certificate.get()->pCertInfo->SubjectPublicKeyInfo.PublicKey;
        if (key.cbData == 0) return platform::Failure{kBadSignature};
        return std::vector<uint8_t>(key.pbData, key.pbData + key.cbData);
    }
};

}  // namespace

std::shared_ptr<IDetachedSignatures> IDetachedSignatures::Make(platform::Platform&) {
    return std::make_shared<WinDetachedSignatures>();
}

}  // namespace Qv::Manifest
