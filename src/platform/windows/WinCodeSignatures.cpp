#include "platform/windows/WinCodeSignatures.h"

#include "core/logging.h"
#include "platform/windows/SystemDeclarations.h"
#include "platform/windows/raii/kernel.h"
#include "platform/windows/raii/crypto.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::LogManager;

std::wstring NameToString(const CERT_NAME_BLOB& name) {
    auto* blob = const_cast<CERT_NAME_BLOB*>(&name);
    const DWORD length = CertNameToStrW(X509_ASN_ENCODING, blob, CERT_X500_NAME_STR, nullptr, 0);
    if (length <= 1) return {};
    std::wstring text(length, L'\0');
    CertNameToStrW(X509_ASN_ENCODING, blob, CERT_X500_NAME_STR, text.data(), length);
    text.resize(length - 1);
    return text;
}

HMODULE Wintrust() {
    static const HMODULE module = LoadLibraryExW(L"wintrust.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return module;
}

// What a catalog-based trust request names; the admin context lives as long as the request.
struct CatalogRequest {
    unique_catalog_admin admin;
    std::wstring catalogFile;
    std::wstring memberTag;
    std::wstring memberPath;
    sdk::WintrustCatalogInfo info{};
};

// Points the trust request at the system catalog that lists the file. 1 when one was found.
int GetSecurityCatalogInfo(const std::wstring& path, CatalogRequest& request) {
    auto* logger = LogManager::GetLogger();
    logger->LogInfo(L"Security - GetSecurityCatalogInfo - File = %s", path.c_str());
    auto acquire = proc_address<sdk::CryptCATAdminAcquireContext2Fn>(Wintrust(), "CryptCATAdminAcquireContext2");
    auto calcHash =
        proc_address<sdk::CryptCATAdminCalcHashFromFileHandle2Fn>(Wintrust(), "CryptCATAdminCalcHashFromFileHandle2");
    if (acquire == nullptr || calcHash == nullptr) {
        logger->LogError(L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminAcquireContext2. Error Code = %d",
                         static_cast<int>(ERROR_PROC_NOT_FOUND));
        return 0;
    }
    static GUID driverAction = DRIVER_ACTION_VERIFY;
    if (!acquire(request.admin.put(), &driverAction, L"SHA256", nullptr, 0)) {
        logger->LogError(L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminAcquireContext2. Error Code = %d",
                         static_cast<int>(GetLastError()));
        return 0;
    }

    unique_handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                   nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return 0;
    DWORD size = 0;
    calcHash(request.admin.get(), file.get(), &size, nullptr, 0);
    if (size == 0) return 0;
    std::vector<BYTE> hash(size);
    if (!calcHash(request.admin.get(), file.get(), &size, hash.data(), 0)) return 0;
    request.memberTag.clear();
    for (BYTE b : hash) {
        static const wchar_t* const kDigits = L"0123456789ABCDEF";
        request.memberTag += kDigits[b >> 4];
        request.memberTag += kDigits[b & 0xF];
    }

    unique_catalog catalog(
        {request.admin.get(), CryptCATAdminEnumCatalogFromHash(request.admin.get(), hash.data(), size, 0, nullptr)});
    if (!catalog) {
        logger->LogError(
            L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminEnumCatalogFromHash. Error Code = %d",
            static_cast<int>(GetLastError()));
        return 0;
    }
    CATALOG_INFO info{};
    info.cbStruct = sizeof(info);
    if (!CryptCATCatalogInfoFromContext(catalog.get().info, &info, 0)) return 0;
    request.catalogFile = info.wszCatalogFile;
    request.memberPath = path;
    request.info.cbStruct = sizeof(request.info);
    request.info.pcwszCatalogFilePath = request.catalogFile.c_str();
    request.info.pcwszMemberTag = request.memberTag.c_str();
    request.info.pcwszMemberFilePath = request.memberPath.c_str();
    request.info.hCatAdmin = request.admin.get();
    return 1;
}

}  // namespace

std::vector<RawSignature> WinCodeSignatures::ReadSignatures(const std::wstring& path, bool useCatalog) {
    std::vector<RawSignature> signatures;
    static GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;

    WINTRUST_FILE_INFO fileInfo{};
    fileInfo.cbStruct = sizeof(fileInfo);  // 32
    fileInfo.pcwszFilePath = path.c_str();
    std::shared_ptr<void> catalog;

    sdk::WintrustSignatureSettings settings{};
    settings.cbStruct = sizeof(settings);
    settings.dwFlags = sdk::kWssVerifySpecific | sdk::kWssGetSecondarySigCount;

    sdk::WintrustData data{};
    data.cbStruct = sizeof(data);  // 88
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_NONE;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    data.pSignatureSettings = &settings;
    if (useCatalog) {
        if (PointAtCatalog(path, &data, catalog) != 1) return signatures;
    } else {
        data.dwUnionChoice = WTD_CHOICE_FILE;
        data.pFile = &fileInfo;
    }

    // The primary signature is index 0; the first call also reports how many nested ones follow.
    for (DWORD index = 0; index <= settings.cSecondarySigs; ++index) {
        settings.dwIndex = index;
        data.dwStateAction = WTD_STATEACTION_VERIFY;
        const LONG status = WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &data);
        // The verification state is released by a second call, whatever happened.
        scope_exit closeState([&] {
            data.dwStateAction = WTD_STATEACTION_CLOSE;
            WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &data);
        });
        CRYPT_PROVIDER_DATA* provider = WTHelperProvDataFromStateData(data.hWVTStateData);
        if (provider == nullptr) continue;
        CRYPT_PROVIDER_SGNR* signer = WTHelperGetProvSignerFromChain(provider, 0, FALSE, 0);
        if (signer == nullptr) continue;
        CRYPT_PROVIDER_CERT* leaf = WTHelperGetProvCertFromChain(signer, 0);
        if (leaf == nullptr || leaf->pCert == nullptr || leaf->pCert->pCertInfo == nullptr) continue;

        const CERT_INFO& cert = *leaf->pCert->pCertInfo;
        RawSignature signature;
        const CRYPT_BIT_BLOB& key = cert.SubjectPublicKeyInfo.PublicKey;
        signature.publicKey.assign(key.pbData, key.pbData + key.cbData);
        signature.status = static_cast<int32_t>(status);
        signature.subject = NameToString(cert.Subject);
        signature.issuer = NameToString(cert.Issuer);
        signatures.push_back(std::move(signature));
    }
    return signatures;
}

int WinCodeSignatures::PointAtCatalog(const std::wstring& path, void* trustRequest, std::shared_ptr<void>& keep) {
    if (trustRequest == nullptr) return 0;
    auto request = std::make_shared<CatalogRequest>();
    if (GetSecurityCatalogInfo(path, *request) != 1) return 0;
    auto* data = static_cast<sdk::WintrustData*>(trustRequest);
    data->dwUnionChoice = WTD_CHOICE_CATALOG;
    data->pCatalog = &request->info;
    keep = std::move(request);
    return 1;
}

}  // namespace Qv::platform::windows
