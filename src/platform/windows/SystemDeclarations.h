#pragma once
// Declarations the mingw-w64 headers lack, written from the documented Windows SDK layouts.
#include <windows.h>
#include <rpc.h>
#include <wintrust.h>
#include <softpub.h>
#include <mscat.h>

namespace Qv::platform::windows::sdk {

// WINTRUST_SIGNATURE_SETTINGS (Windows 8 and later).
struct WintrustSignatureSettings {
    DWORD cbStruct;
    DWORD dwIndex;
    DWORD dwFlags;
    DWORD cSecondarySigs;
    DWORD dwVerifiedSigIndex;
    void* pCryptoPolicy;  // CERT_STRONG_SIGN_PARA*
};
constexpr DWORD kWssVerifySpecific = 0x00000001;
constexpr DWORD kWssGetSecondarySigCount = 0x00000002;

// WINTRUST_DATA with the Windows 8 tail (pSignatureSettings): 88 bytes on x64.
struct WintrustData {
    DWORD cbStruct;
    LPVOID pPolicyCallbackData;
    LPVOID pSIPClientData;
    DWORD dwUIChoice;
    DWORD fdwRevocationChecks;
    DWORD dwUnionChoice;
    union {
        WINTRUST_FILE_INFO* pFile;
        void* pCatalog;
    };
    DWORD dwStateAction;
    HANDLE hWVTStateData;
    WCHAR* pwszURLReference;
    DWORD dwProvFlags;
    DWORD dwUIContext;
    WintrustSignatureSettings* pSignatureSettings;
};
static_assert(sizeof(WintrustData) == 88, "WINTRUST_DATA with signature settings is 88 bytes on x64");

// WINTRUST_CATALOG_INFO with the Windows 8 tail (hCatAdmin).
struct WintrustCatalogInfo {
    DWORD cbStruct;
    DWORD dwCatalogVersion;
    LPCWSTR pcwszCatalogFilePath;
    LPCWSTR pcwszMemberTag;
    LPCWSTR pcwszMemberFilePath;
    HANDLE hMemberFile;
    BYTE* pbCalculatedFileHash;
    DWORD cbCalculatedFileHash;
    PCCTL_CONTEXT pcCatalogContext;
    HANDLE hCatAdmin;
};

// The catalog functions of Windows 8 and later, resolved from wintrust.dll at run time.
using CryptCATAdminAcquireContext2Fn = BOOL(WINAPI*)(HANDLE*, const GUID*, PCWSTR, const void*, DWORD);
using CryptCATAdminCalcHashFromFileHandle2Fn = BOOL(WINAPI*)(HANDLE, HANDLE, DWORD*, BYTE*, DWORD);

// RPC_CALL_ATTRIBUTES_V3_W.
struct RpcCallAttributesV3 {
    unsigned int Version;
    unsigned long Flags;
    unsigned long ServerPrincipalNameBufferLength;
    unsigned short* ServerPrincipalName;
    unsigned long ClientPrincipalNameBufferLength;
    unsigned short* ClientPrincipalName;
    unsigned long AuthenticationLevel;
    unsigned long AuthenticationService;
    BOOL NullSession;
    BOOL KernelMode;
    unsigned long ProtocolSequence;
    int IsClientLocal;  // RpcCallClientLocality
    HANDLE ClientPID;
    unsigned long CallStatus;
    int CallType;  // RpcCallType
    void* CallLocalAddress;
    unsigned short OpNum;
    UUID InterfaceUuid;
    unsigned long ClientIdentifierBufferLength;
    unsigned char* ClientIdentifier;
};
constexpr unsigned long kRpcQueryClientPid = 0x80;

// appmodel.h (Windows 8 and later).
using GetPackageFamilyNameFn = LONG(WINAPI*)(HANDLE, UINT32*, PWSTR);

}  // namespace Qv::platform::windows::sdk
