#include "security/Authenticode.h"

#include <algorithm>
#include <cwctype>
#include <exception>

#include "core/command_line.h"
#include "core/logging.h"
#include "platform/UserPaths.h"
#include "security/RpcSecurityHelper.h"
#include "security/TrustMaterial.h"

namespace Qv::Bridge::Security {
namespace {

using Logging::LogManager;

constexpr uint32_t kGenericAll = 0x10000000;
constexpr uint8_t kAccessAllowedAceType = 0;
constexpr int kFolderCheckAttempts = 5;
constexpr uint32_t kFolderCheckWaitMs = 250;

bool EqualsFolded(const std::wstring& a, const std::wstring& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](wchar_t x, wchar_t y) { return std::towlower(x) == std::towlower(y); });
}

bool BeginsWithFolded(const std::wstring& text, const std::wstring& prefix) {
    return !prefix.empty() && text.size() >= prefix.size() && EqualsFolded(text.substr(0, prefix.size()), prefix);
}

std::wstring Trim(const std::wstring& text) {
    static const wchar_t* const kBlanks = L" \f\n\r\t\v";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::wstring::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

void AppendKeys(SignerList& table, const char* const* keys) {
    for (; *keys != nullptr; ++keys) {
        SignerInfo record;
        record.publicKey = *keys;
        table.push_back(std::move(record));
    }
}

// The launch-rule validator: the first real argument, when there is one, must be a file signed
// with a key of the launch-argument table.
bool FirstArgumentIsTrustedFile(QVAuthenticodeFacade& facade, const std::wstring& arguments) {
    const std::vector<std::wstring> parts = Core::SplitCommandLine(L"test.exe " + arguments);
    if (parts.size() < 2) return true;
    return facade.IsFileTrusted(parts[1].c_str(), &facade.Tables().launchArgument);
}

}  // namespace

namespace SignerDescriptions {
const SignerDescription kMaker{L"DigiCert SHA2 Assured ID Code Signing CA", L"QV Inc.", L"Lakeside", L"California",
                               L"QV Cybersecurity"};
const SignerDescription kDropbox{L"DigiCert SHA2 Assured ID Code Signing CA", L"Dropbox, Inc", L"San Francisco",
                                 L"California", L""};
const SignerDescription kMicrosoft{L"", L"Microsoft Corporation", L"Redmond", L"Washington", L""};
const SignerDescription kBitdefender{L"DigiCert SHA2 Assured ID Code Signing CA", L"Bitdefender SRL", L"Bucharest", L"",
                                     L""};
const wchar_t* const kMicrosoftOrganizationWithBlank = L" Microsoft Corporation";
const wchar_t* const kSecurityIdentifier = L"18CC6446-1DB5-4D23-8F2B-441BA13883D6";
}  // namespace SignerDescriptions

const TrustTables& TrustTables::Builtin() {
    static const TrustTables tables = [] {
        TrustTables t;
        AppendKeys(t.main, TrustMaterial::kMainKeys);
        t.extended = t.main;
        AppendKeys(t.extended, TrustMaterial::kExtendedKeys);
        AppendKeys(t.extended, TrustMaterial::kExtendedExtraKeys);
        t.launchArgument = t.extended;
        AppendKeys(t.launchArgument, TrustMaterial::kLaunchArgumentKeys);
        return t;
    }();
    return tables;
}

const std::vector<std::wstring>& AllowedFolderPrefixes() {
    static const std::vector<std::wstring> prefixes{L"%windir%\\", L"%PROGRAMFILES(x86)%\\", L"%PROGRAMFILES%\\"};
    return prefixes;
}

bool IsTrustedBySystem(const SignerList& signers) {
    return std::any_of(signers.begin(), signers.end(),
                       [](const SignerInfo& s) { return s.status == 0 || s.status == kCertExpired; });
}

std::string FormatPublicKey(const std::vector<uint8_t>& der) {
    static const char* const kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(der.size() * 3);
    for (size_t i = 0; i < der.size(); ++i) {
        if (i != 0) text += ' ';
        text += kDigits[der[i] >> 4];
        text += kDigits[der[i] & 0xF];
    }
    return text;
}

std::vector<uint8_t> ParsePublicKey(const std::string& text) {
    auto nibble = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
    std::vector<uint8_t> der;
    for (size_t i = 0; i < text.size(); i += 3) {
        const int hi = i + 1 < text.size() ? nibble(text[i]) : -1;
        const int lo = i + 1 < text.size() ? nibble(text[i + 1]) : -1;
        if (hi < 0 || lo < 0 || (i + 2 < text.size() && text[i + 2] != ' ')) return {};
        der.push_back(static_cast<uint8_t>(hi << 4 | lo));
    }
    return der;
}

std::map<std::wstring, std::wstring> SplitDistinguishedName(const std::wstring& text) {
    std::map<std::wstring, std::wstring> parts;
    size_t i = 0;
    while (i < text.size()) {
        // key
        const size_t equals = text.find(L'=', i);
        if (equals == std::wstring::npos) break;
        const std::wstring key = Trim(text.substr(i, equals - i));
        // value: quoted ("" is a literal quote) or up to the next separator
        i = equals + 1;
        while (i < text.size() && text[i] == L' ') ++i;
        std::wstring value;
        if (i < text.size() && text[i] == L'"') {
            for (++i; i < text.size(); ++i) {
                if (text[i] == L'"') {
                    if (i + 1 < text.size() && text[i + 1] == L'"') {
                        value += L'"';
                        ++i;
                    } else {
                        ++i;
                        break;
                    }
                } else {
                    value += text[i];
                }
            }
            while (i < text.size() && text[i] != L',' && text[i] != L';') ++i;
        } else {
            const size_t end = text.find_first_of(L",;", i);
            value = text.substr(i, end == std::wstring::npos ? std::wstring::npos : end - i);
            i = end == std::wstring::npos ? text.size() : end;
        }
        if (i < text.size()) ++i;  // the separator
        if (!key.empty() && parts.find(key) == parts.end()) parts[key] = Trim(value);
    }
    return parts;
}

const std::map<std::wstring, LaunchRule>& LaunchRules() {
    static const std::map<std::wstring, LaunchRule> rules = [] {
        const std::vector<std::wstring> callers{L"5E0C2A91.Fennel_k4m2x9trq7bw3"};
        std::map<std::wstring, LaunchRule> r;
        r[L"%windir%\\System32\\regsvr32.exe"] = {callers, 1, &FirstArgumentIsTrustedFile};
        r[L"%windir%\\System32\\DISM.exe"] = {callers, 1, nullptr};
        r[L"%windir%\\System32\\sfc.exe"] = {callers, 1, nullptr};
        r[L"%windir%\\System32\\rundll32.exe"] = {callers, 1, &FirstArgumentIsTrustedFile};
        r[L"%windir%\\System32\\mmc.exe"] = {callers, 1, nullptr};
        r[L"%windir%\\System32\\rstrui.exe"] = {callers, 1, nullptr};
        return r;
    }();
    return rules;
}

// --- QVAuthenticodeHelper ----------------------------------------------------------------------

QVAuthenticodeHelper::QVAuthenticodeHelper() : QVAuthenticodeHelper(platform::Current()) {}

QVAuthenticodeHelper::QVAuthenticodeHelper(platform::Platform& platform) : platform_(platform) {}

bool QVAuthenticodeHelper::IsPathAllowed(const wchar_t* path) {
    if (path == nullptr) return false;
    auto* logger = LogManager::GetLogger();
    static const char* const kWhere = "Qv::Bridge::Security::QVAuthenticodeHelper::IsPathAllowed";
    // Canonical first, so that "%windir%\..\Users\x" cannot pass as a path under %windir%.
    const std::wstring full =
        platform::UserPaths(platform_).GeneralForm(path);
    if (full.empty()) return false;

    for (const std::wstring& prefix : AllowedFolderPrefixes()) {
        const std::wstring expanded = platform_.Files().ExpandEnvironment(prefix);
        if (BeginsWithFolded(full, expanded)) return true;
        logger->LogInfo(L"%S - BeginsWith() failed [%s] [%s]", kWhere, full.c_str(), expanded.c_str());
    }

    static const wchar_t* const kWindowsApps = L":\\WindowsApps\\";
    const size_t found = full.find(kWindowsApps);
    if (found == std::wstring::npos) {
        logger->LogInfo(L"%S - Didn't find substring [%s] in [%s]", kWhere, kWindowsApps, full.c_str());
        return false;
    }
    const std::wstring folder = full.substr(0, found + std::wstring(kWindowsApps).size() - 1);
    bool allowed = false;
    for (int attempt = 1; attempt <= kFolderCheckAttempts; ++attempt) {
        int32_t error = 0;
        allowed = CheckFolder(folder, error);
        if (allowed) break;
        logger->LogWarning(L"Security - GetNamedSecurityInfo - Failed %d of %d times. Error Code = %d", attempt,
                           kFolderCheckAttempts, error);
        if (attempt < kFolderCheckAttempts) platform_.Clock().Sleep(kFolderCheckWaitMs);
    }
    return allowed;
}

bool QVAuthenticodeHelper::CheckForFullConrolByTrustedInstallAndSystem(const std::wstring& folder) {
    int32_t error = 0;
    return CheckFolder(folder, error);
}

bool QVAuthenticodeHelper::CheckFolder(const std::wstring& folder, int32_t& error) {
    try {
        const auto access = platform_.Files().ReadFolderAccess(folder);
        error = access.Status();
        if (!access || !access->hasDacl) return false;
        bool trustedInstaller = false;
        bool system = false;
        for (const platform::AccessEntry& entry : access->entries) {
            if (entry.type != kAccessAllowedAceType || (entry.mask & kGenericAll) == 0) continue;
            if (entry.domain == L"NT SERVICE" && entry.name == L"TrustedInstaller") trustedInstaller = true;
            if (entry.domain == L"NT AUTHORITY" && entry.name == L"SYSTEM") system = true;
        }
        return trustedInstaller && system;
    } catch (...) {
        LogManager::GetLogger()->LogError(L"Exception in CheckForFullConrolByTrustedInstallAndSystem().");
        return false;
    }
}

// --- QVAuthenticodeFacade ----------------------------------------------------------------------

QVAuthenticodeFacade::QVAuthenticodeFacade() : QVAuthenticodeFacade(platform::Current(), TrustTables::Builtin()) {}

QVAuthenticodeFacade::QVAuthenticodeFacade(platform::Platform& platform, const TrustTables& tables,
                                           const std::map<std::wstring, LaunchRule>& launchRules)
    : platform_(platform), tables_(tables), launchRules_(launchRules), helper_(platform) {}

SignerList QVAuthenticodeFacade::GetSigners(const std::wstring& path, bool useCatalog) {
    SignerList signers;
    for (const platform::RawSignature& raw : platform_.Signatures().ReadSignatures(path, useCatalog)) {
        LogManager::GetLogger()->LogInfo(L"Subject = %s", raw.subject.c_str());
        const auto subject = SplitDistinguishedName(raw.subject);
        const auto issuer = SplitDistinguishedName(raw.issuer);
        auto part = [](const std::map<std::wstring, std::wstring>& parts, std::initializer_list<const wchar_t*> keys) {
            for (const wchar_t* key : keys) {
                auto it = parts.find(key);
                if (it != parts.end()) return it->second;
            }
            return std::wstring();
        };
        SignerInfo info;
        info.publicKey = FormatPublicKey(raw.publicKey);
        info.status = raw.status;
        info.commonName = part(subject, {L"CN"});
        info.organization = part(subject, {L"O"});
        info.locality = part(subject, {L"L"});
        info.state = part(subject, {L"S", L"ST"});
        info.country = part(subject, {L"C"});
        info.organizationalUnit = part(subject, {L"OU"});
        info.issuer = part(issuer, {L"CN"});
        signers.push_back(std::move(info));
    }
    return signers;
}

int QVAuthenticodeFacade::GetSecurityCatalogInfo(const wchar_t* path, void* trustData) {
    catalog_.reset();
    if (path == nullptr || trustData == nullptr) return 0;
    return platform_.Signatures().PointAtCatalog(path, trustData, catalog_);
}

bool QVAuthenticodeFacade::IsFileTrusted(const wchar_t* path, const SignerList* table) {
    if (path == nullptr || table == nullptr) return false;
    const SignerList signers = GetSigners(path);
    if (signers.empty() || table->empty()) return false;
    const bool trustedBySystem = IsTrustedBySystem(signers);
    // The whole key text must match: a prefix of a trusted key is not that key.
    const bool trustedByKey = std::any_of(signers.begin(), signers.end(), [&](const SignerInfo& signer) {
        return std::any_of(table->begin(), table->end(),
                           [&](const SignerInfo& trusted) { return trusted.publicKey == signer.publicKey; });
    });
    LogManager::GetLogger()->LogInfo(L"Security - IsFileTrusted - trusted by windows = %S, trusted by Fusion = %S",
                                     trustedBySystem ? "true" : "false", trustedByKey ? "true" : "false");
    return trustedBySystem && trustedByKey;
}

bool QVAuthenticodeFacade::IsTrustedSignedFile(const wchar_t* path) {
    return IsFileTrusted(path, &tables_.launchArgument) && IsPathAllowed(path);
}

bool QVAuthenticodeFacade::IsQvSignedFile(const wchar_t* path) {
    return IsFileTrusted(path, &tables_.extended) && IsPathAllowed(path);
}

bool QVAuthenticodeFacade::IsWindowsTrustedFile(const wchar_t* path) {
    return path != nullptr && IsTrustedBySystem(GetSigners(path)) && IsPathAllowed(path);
}

bool QVAuthenticodeFacade::IsDropboxFileTrusted(const wchar_t* path) {
    if (path == nullptr) return false;
    auto* logger = LogManager::GetLogger();
    try {
        logger->LogInfo(L"Starting validation of Dropbox file.");
        const SignerList signers = GetSigners(path);
        if (!IsTrustedBySystem(signers)) {
            logger->LogError(L"Dropbox file is not trusted by windows.");
            return false;
        }
        const SignerDescription& dropbox = SignerDescriptions::kDropbox;
        const bool matched = std::any_of(signers.begin(), signers.end(), [&](const SignerInfo& s) {
            return s.organization == dropbox.organization && s.locality == dropbox.locality &&
                   s.state == dropbox.state && s.issuer == dropbox.issuer;
        });
        return matched && IsPathAllowed(path);
    } catch (const std::exception& e) {
        logger->LogError(L"Problem while validating certificates from Dropbox. %S", e.what());
        return false;
    }
}

bool QVAuthenticodeFacade::HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) {
    if (pathA == nullptr || pathB == nullptr) return false;
    const SignerList a = GetSigners(pathA);
    const SignerList b = GetSigners(pathB);
    return std::any_of(b.begin(), b.end(), [&](const SignerInfo& sb) {
        return !sb.publicKey.empty() &&
               std::any_of(a.begin(), a.end(), [&](const SignerInfo& sa) { return sa.publicKey == sb.publicKey; });
    });
}

bool QVAuthenticodeFacade::IsPathAllowed(const wchar_t* path) { return helper_.IsPathAllowed(path); }

bool QVAuthenticodeFacade::IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                                           platform::UserToken userToken) {
    if (programPath == nullptr) return false;
    std::wstring program;
    if (userToken != nullptr) {
        auto expanded = platform_.User().ExpandForUser(userToken, programPath);
        if (!expanded) return false;
        program = *expanded;
    } else {
        program = platform_.Files().ExpandEnvironment(programPath);
    }

    const LaunchRule* rule = nullptr;
    for (const auto& [key, candidate] : launchRules_) {
        if (EqualsFolded(platform_.Files().ExpandEnvironment(key), program)) {
            rule = &candidate;
            break;
        }
    }
    if (rule == nullptr) return false;

    if (!rule->allowedCallers.empty()) {
        const std::wstring caller = RpcSecurityHelper(platform_).GetPFNOfCaller();
        if (caller.empty() ||
            std::find(rule->allowedCallers.begin(), rule->allowedCallers.end(), caller) == rule->allowedCallers.end()) {
            return false;
        }
    }
    if (optionRequested != 0 && rule->optionAllowed == 0) return false;
    if (!IsTrustedBySystem(GetSigners(program))) return false;
    if (rule->argumentValidator && !rule->argumentValidator(*this, arguments != nullptr ? arguments : L"")) return false;
    return true;
}

}  // namespace Qv::Bridge::Security
