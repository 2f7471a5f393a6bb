#pragma once
// Who signed a file, and may the service trust it: signer keys against the trusted-key tables,
// the system's trust verdict, the protected folders, and the launch rules for system programs.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Qv::Bridge::Security {

// One signature of a file.
struct SignerInfo {
    // DER bytes of the signer's public key as two-digit lowercase hex, single blanks between bytes.
    std::string publicKey;
    int32_t status = 0;  // the trust provider's verdict for this signature (0 = trusted)
    std::wstring commonName;
    std::wstring organization;
    std::wstring locality;
    std::wstring state;
    std::wstring country;
    std::wstring organizationalUnit;
    std::wstring issuer;  // common name of the issuer
};

using SignerList = std::vector<SignerInfo>;

// The trusted-key tables (only publicKey is filled in their records).
struct TrustTables {
    SignerList main;            // the display-control library check
    SignerList extended;        // main + the further keys: the maker's own programs
    SignerList launchArgument;  // extended + one more: trusted signed files, launch arguments

    // The tables compiled into this build (config/trust, plus the test key in the test build).
    static const TrustTables& Builtin();
};

// Subject fields a signer must show to pass as a known publisher.
struct SignerDescription {
    std::wstring issuer;
    std::wstring organization;
    std::wstring locality;
    std::wstring state;
    std::wstring organizationalUnit;
};

namespace SignerDescriptions {
extern const SignerDescription kMaker;
extern const SignerDescription kDropbox;
extern const SignerDescription kMicrosoft;
extern const SignerDescription kBitdefender;
extern const wchar_t* const kMicrosoftOrganizationWithBlank;
extern const wchar_t* const kSecurityIdentifier;
}  // namespace SignerDescriptions

// "%windir%\", "%PROGRAMFILES(x86)%\", "%PROGRAMFILES%\": folders only administrators can write.
const std::vector<std::wstring>& AllowedFolderPrefixes();

// The well-known "trusted by the system" rule: some signature is trusted, or merely expired.
constexpr int32_t kCertExpired = static_cast<int32_t>(0x800B0101);
bool IsTrustedBySystem(const SignerList& signers);

// Hex text of DER bytes as the tables write it, and back (malformed text gives no bytes).
std::string FormatPublicKey(const std::vector<uint8_t>& der);
std::vector<uint8_t> ParsePublicKey(const std::string& text);

// Splits an X.500 name text ("CN=a, O=\"b, c\", ...") into its parts, trimmed.
std::map<std::wstring, std::wstring> SplitDistinguishedName(const std::wstring& text);

class QVAuthenticodeFacade;

struct LaunchRule {
    std::vector<std::wstring> allowedCallers;  // package family names; empty: any caller
    uint16_t optionAllowed = 0;
    std::function<bool(QVAuthenticodeFacade&, const std::wstring& arguments)> argumentValidator;
};

// System programs the service may be asked to start, keyed by their unexpanded path.
const std::map<std::wstring, LaunchRule>& LaunchRules();

class QVAuthenticodeHelper {
public:
    QVAuthenticodeHelper();
    explicit QVAuthenticodeHelper(platform::Platform& platform);

    // True for a path (made absolute and canonical first) under an allowed folder, or under a
    // WindowsApps folder that only TrustedInstaller and SYSTEM fully control.
    bool IsPathAllowed(const wchar_t* path);
    bool CheckForFullConrolByTrustedInstallAndSystem(const std::wstring& folder);

private:
    // The check, with the system's error when the security information could not be read.
    bool CheckFolder(const std::wstring& folder, int32_t& error);

    platform::Platform& platform_;
};

// The facade's virtual slots, in order.
class QVAuthenticodeFacadeBase {
public:
    virtual bool IsTrustedSignedFile(const wchar_t* path) = 0;
    virtual bool IsQvSignedFile(const wchar_t* path) = 0;
    virtual bool IsDropboxFileTrusted(const wchar_t* path) = 0;
    virtual bool IsWindowsTrustedFile(const wchar_t* path) = 0;
    virtual bool HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) = 0;
    virtual bool IsPathAllowed(const wchar_t* path) = 0;
    virtual bool IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                                 platform::UserToken userToken) = 0;

protected:
    ~QVAuthenticodeFacadeBase() = default;
};

class QVAuthenticodeFacade : public QVAuthenticodeFacadeBase {
public:
    // The installed platform and the built-in tables.
    QVAuthenticodeFacade();
    // For tests: a platform, tables and launch rules of their own.
    QVAuthenticodeFacade(platform::Platform& platform, const TrustTables& tables,
                         const std::map<std::wstring, LaunchRule>& launchRules = LaunchRules());
    virtual ~QVAuthenticodeFacade() = default;

    bool IsTrustedSignedFile(const wchar_t* path) override;
    bool IsQvSignedFile(const wchar_t* path) override;
    bool IsDropboxFileTrusted(const wchar_t* path) override;
    bool IsWindowsTrustedFile(const wchar_t* path) override;
    bool HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) override;
    bool IsPathAllowed(const wchar_t* path) override;
    bool IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                         platform::UserToken userToken) override;

    // Both the system trusts a signature of the file and some signer key is in `table`.
    bool IsFileTrusted(const wchar_t* path, const SignerList* table);
    SignerList GetSigners(const std::wstring& path, bool useCatalog = false);
    // 1 when a system catalog lists the file and `trustData` (a WINTRUST_DATA) was pointed at it;
    // what it names stays with the facade until the next call or the facade's end.
    int GetSecurityCatalogInfo(const wchar_t* path, void* trustData);

    const TrustTables& Tables() const { return tables_; }

private:
    platform::Platform& platform_;
    const TrustTables& tables_;
    const std::map<std::wstring, LaunchRule>& launchRules_;
    QVAuthenticodeHelper helper_;
    std::shared_ptr<void> catalog_;
};

}  // namespace Qv::Bridge::Security
