#pragma once
// Who signed a file, and may the service trust it: each signer's public key against the trusted
// key tables, the system's verdict, the protected folders, and the launch rules for system
// programs.
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "qv/Boundary.h"

struct _WINTRUST_DATA;

namespace Qv::Bridge::Security {

// One signature of a file.
struct SignerInfo {
    // The DER bytes of the signer's public key (for RSA the PKCS#1 RSAPublicKey) as two-digit
    // lowercase hexadecimal, one blank between bytes.
    std::string publicKey;
    int32_t status = 0;  // the trust provider's verdict for this signature: 0 trusted
    std::wstring commonName;
    std::wstring organization;
    std::wstring locality;
    std::wstring state;
    std::wstring country;
    std::wstring organizationalUnit;
    std::wstring issuer;  // the issuer's common name
};

using SignerList = std::vector<SignerInfo>;

// A system program the service may be asked to start, for which callers, and how its arguments
// are checked (none: any).
struct LaunchRule {
    std::vector<std::wstring> allowedCallers;  // package family names; empty: any caller
    uint16_t optionAllowed = 0;
    std::function<bool(const std::wstring& arguments)> argumentValidator;
};

class QV_CLASS QVAuthenticodeHelper {
public:
    QVAuthenticodeHelper();
    ~QVAuthenticodeHelper();

    // A path (expanded, made absolute and canonical) under %windir%, %PROGRAMFILES(x86)% or
    // %PROGRAMFILES%, or under a WindowsApps folder that only TrustedInstaller and SYSTEM fully
    // control.
    bool IsPathAllowed(const wchar_t* path);
    bool CheckForFullConrolByTrustedInstallAndSystem(const std::wstring& folder);
};

// The facade's virtual slots, in order.
class QV_CLASS QVAuthenticodeFacadeBase {
public:
    virtual bool IsTrustedSignedFile(const wchar_t* path) = 0;
    virtual bool IsQvSignedFile(const wchar_t* path) = 0;
    virtual bool IsDropboxFileTrusted(const wchar_t* path) = 0;
    virtual bool IsWindowsTrustedFile(const wchar_t* path) = 0;
    virtual bool HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) = 0;
    virtual bool IsPathAllowed(const wchar_t* path) = 0;
    virtual bool IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                                 void* userToken) = 0;

protected:
    QVAuthenticodeFacadeBase() = default;
    ~QVAuthenticodeFacadeBase() = default;
};

// The checks on the module's built-in tables. Not copyable.
class QV_CLASS QVAuthenticodeFacade : public QVAuthenticodeFacadeBase {
public:
    QVAuthenticodeFacade();
    QVAuthenticodeFacade(const QVAuthenticodeFacade&) = delete;
    QVAuthenticodeFacade& operator=(const QVAuthenticodeFacade&) = delete;
    virtual ~QVAuthenticodeFacade();

    bool IsTrustedSignedFile(const wchar_t* path) override;
    bool IsQvSignedFile(const wchar_t* path) override;
    bool IsDropboxFileTrusted(const wchar_t* path) override;
    bool IsWindowsTrustedFile(const wchar_t* path) override;
    bool HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) override;
    bool IsPathAllowed(const wchar_t* path) override;
    bool IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                         void* userToken) override;

    // The system trusts a signature of the file and some signer's key is in `table`.
    bool IsFileTrusted(const wchar_t* path, const SignerList* table);
    SignerList GetSigners(const std::wstring& path, bool useCatalog = false);
    // 1 when a system catalog lists the file and `trustData` was pointed at it (the catalog's
    // information stays with this facade until the next call or its end).
    int GetSecurityCatalogInfo(const wchar_t* path, _WINTRUST_DATA* trustData);

    // The trusted-key tables (only publicKey is filled): the display-control library's, the
    // maker's programs', and the one for trusted signed files and launch arguments.
    static const SignerList& MainTable();
    static const SignerList& ExtendedTable();
    static const SignerList& LaunchArgumentTable();
    // The system programs the service may be asked to start, by their unexpanded path.
    static const std::map<std::wstring, LaunchRule>& LaunchRules();

private:
    void* implementation_;
};

}  // namespace Qv::Bridge::Security
