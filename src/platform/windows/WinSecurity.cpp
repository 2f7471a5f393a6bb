// Authenticode reading (wintrust, crypt32) and the RPC caller.
#include <windows.h>

#include <vector>

#include "core/logging.h"
#include "platform/windows/SystemDeclarations.h"
#include "platform/windows/WinPlatform.h"
#include "platform/windows/raii.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::LogManager;

std::wstring NameToString(const CERT_NAME_BLOB& name) {
    const DWORD dwStrType = CERT_X500_NAME_STR;
    const DWORD length = CertNameToStrW(X509_ASN_ENCODING, const_cast<CERT_NAME_BLOB*>(&name), dwStrType, nullptr, 0);
    if (length <= 1) return {};
    auto* buffer = static_cast<wchar_t*>(malloc(length * sizeof(wchar_t)));
    if (buffer == nullptr) {
        LogManager::GetLogger()->LogError(L"NULL pointer returned by Malloc() to pszString.");
        return {};
    }
    CertNameToStrW(X509_ASN_ENCODING, const_cast<CERT_NAME_BLOB*>(&name), dwStrType, buffer, length);
    std::wstring text(buffer);
    free(buffer);
    return text;
}

HMODULE Wintrust() {
    static HMODULE module = LoadLibraryW(L"wintrust.dll");
    return module;
}

}  // namespace

// Points the trust request at the system catalog that lists the file. 1 when one was found.
int WinCodeSignatures::GetSecurityCatalogInfo(const std::wstring& path, CatalogRequest& request) {
    auto* logger = LogManager::GetLogger();
    logger->LogInfo(L"Security - GetSecurityCatalogInfo - File = %s", path.c_str());
    auto acquire =
        proc_address<sdk::CryptCATAdminAcquireContext2Fn>(Wintrust(), "CryptCATAdminAcquireContext2");
    auto calcHash =
        proc_address<sdk::CryptCATAdminCalcHashFromFileHandle2Fn>(Wintrust(), "CryptCATAdminCalcHashFromFileHandle2");
    if (acquire == nullptr || calcHash == nullptr) {
        logger->LogError(L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminAcquireContext2. Error Code = %d",
                         static_cast<int>(ERROR_PROC_NOT_FOUND));
        return 0;
    }
    static GUID driverAction = DRIVER_ACTION_VERIFY;
    HANDLE admin = nullptr;
    if (!acquire(&admin, &driverAction, L"SHA256", nullptr, 0)) {
        logger->LogError(L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminAcquireContext2. Error Code = %d",
                         static_cast<int>(GetLastError()));
        return 0;
    }
    request.admin = std::shared_ptr<void>(admin, [](HANDLE h) { CryptCATAdminReleaseContext(h, 0); });

    unique_handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                   nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return 0;
    DWORD size = 0;
    calcHash(admin, file.get(), &size, nullptr, 0);
    if (size == 0) return 0;
    std::vector<BYTE> hash(size);
    if (!calcHash(admin, file.get(), &size, hash.data(), 0)) return 0;
    request.memberTag.clear();
    for (BYTE b : hash) {
        static const wchar_t* const kDigits = L"0123456789ABCDEF";
        request.memberTag += kDigits[b >> 4];
        request.memberTag += kDigits[b & 0xF];
    }

    HCATINFO catalog = CryptCATAdminEnumCatalogFromHash(admin, hash.data(), size, 0, nullptr);
    if (catalog == nullptr) {
        logger->LogError(
            L"Security - GetSecurityCatalogInfo - Failed during CryptCATAdminEnumCatalogFromHash. Error Code = %d",
            static_cast<int>(GetLastError()));
        return 0;
    }
    scope_exit releaseCatalog([&] { CryptCATAdminReleaseCatalogContext(admin, catalog, 0); });
    CATALOG_INFO info{};
    info.cbStruct = sizeof(info);
    if (!CryptCATCatalogInfoFromContext(catalog, &info, 0)) return 0;
    request.catalogFile = info.wszCatalogFile;
    request.memberPath = path;
    return 1;
}

std::vector<RawSignature> WinCodeSignatures::ReadSignatures(const std::wstring& path, bool useCatalog) {
    std::vector<RawSignature> signatures;
    static GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;

    WINTRUST_FILE_INFO fileInfo{};
    fileInfo.cbStruct = sizeof(fileInfo);  // 32
    fileInfo.pcwszFilePath = path.c_str();
    sdk::WintrustCatalogInfo catalogInfo{};
    CatalogRequest catalog;

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
        if (GetSecurityCatalogInfo(path, catalog) != 1) return signatures;
        catalogInfo.cbStruct = sizeof(catalogInfo);
        catalogInfo.pcwszCatalogFilePath = catalog.catalogFile.c_str();
        catalogInfo.pcwszMemberTag = catalog.memberTag.c_str();
        catalogInfo.pcwszMemberFilePath = catalog.memberPath.c_str();
        catalogInfo.hCatAdmin = catalog.admin.get();
        data.dwUnionChoice = WTD_CHOICE_CATALOG;
        data.pCatalog = &catalogInfo;
    } else {
        data.dwUnionChoice = WTD_CHOICE_FILE;
        data.pFile = &fileInfo;
    }

    // The primary signature is index 0; the first call also reports how many nested ones follow.
    for (DWORD index = 0; index <= settings.cSecondarySigs; ++index) {
        settings.dwIndex = index;
        data.dwStateAction = WTD_STATEACTION_VERIFY;
        const LONG status = WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &data);
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

// --- the RPC caller -------------------------------------------------------------------------

WinRpcCall::WinRpcCall() {
    // RpcServerInqCallAttributesW ends the process under Wine; there is no RPC caller there anyway.
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    underWine_ = ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

long WinRpcCall::InquireCallerProcessId(uint32_t& processId) {
    processId = 0;
    if (underWine_) {
        LogManager::GetLogger()->LogWarning(L"RpcSecurityHelper - no call information under Wine");
        return RPC_S_NO_CALL_ACTIVE;
    }
    sdk::RpcCallAttributesV3 attributes{};
    attributes.Version = 3;
    attributes.Flags = sdk::kRpcQueryClientPid;
    const RPC_STATUS status = RpcServerInqCallAttributesW(nullptr, &attributes);
    if (status == RPC_S_OK) processId = static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(attributes.ClientPID));
    return status;
}

OwnedHandle WinRpcCall::OpenProcessForQuery(uint32_t processId) {
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (process == nullptr || process == INVALID_HANDLE_VALUE) return nullptr;
    return OwnedHandle(process, [](HANDLE h) { CloseHandle(h); });
}

OwnedHandle WinRpcCall::DuplicateForQuery(void* processHandle) {
    HANDLE duplicate = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), static_cast<HANDLE>(processHandle), GetCurrentProcess(), &duplicate,
                         PROCESS_QUERY_LIMITED_INFORMATION, FALSE, 0) ||
        duplicate == nullptr || duplicate == INVALID_HANDLE_VALUE) {
        return nullptr;
    }
    return OwnedHandle(duplicate, [](HANDLE h) { CloseHandle(h); });
}

long WinRpcCall::ImpersonateClient() { return underWine_ ? RPC_S_NO_CALL_ACTIVE : RpcImpersonateClient(nullptr); }

void WinRpcCall::RevertToSelf() {
    if (!underWine_) RpcRevertToSelf();
}

long WinRpcCall::GetPackageFamilyName(void* processHandle, uint32_t& length, wchar_t* buffer) {
    static auto getFamilyName =
        proc_address<sdk::GetPackageFamilyNameFn>(GetModuleHandleW(L"kernel32.dll"), "GetPackageFamilyName");
    if (getFamilyName == nullptr) return ERROR_PROC_NOT_FOUND;
    UINT32 size = length;
    const LONG result = getFamilyName(static_cast<HANDLE>(processHandle), &size, buffer);
    length = size;
    return result;
}

}  // namespace Qv::platform::windows
