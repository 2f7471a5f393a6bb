#pragma once
// Clients that shipped before signed client manifests existed carry none. These criteria let
// such clients through by package or executable name up to a highest excused version, and
// BridgeAccessManager holds the criterion the host chose for each client kind.
#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "security/ClientInformation.h"

namespace Qv::Bridge::Security {

// Names by which a rule of the signed client manifest names its test.
inline constexpr std::array<std::wstring_view, 6> kManifestRuleTypes = {
    L"regex",
    L"contained_in_list",
    L"begins_with_from_list",
    L"begins_with_from_list_with_env_vars",
    L"numeric_range",
    L"none",
};

// A value that starts as an absolute location: drive and colon, leading backslash, http(s)
// scheme, or an environment variable in percent signs.
inline constexpr std::wstring_view kAbsoluteLocationPattern =
    LR"(^((?:[\w]\:|\\)|(http[s]?\:)|(\%[\(|\w|\)]+\%))+)";

// A ".." parent-folder step, with optional slashes around it.
inline constexpr std::wstring_view kParentFolderPattern = LR"(((\/+)?\.\.(\/+)?))";

// The clients the built-in lists excuse, with the highest version excused: a store app by its
// package name and family name, an executable by its lower-case name.
struct ExcusedClient {
    const wchar_t* first;
    const wchar_t* second;
    uint16_t major;
    uint16_t minor;
};
inline constexpr ExcusedClient kExcusedStoreApps[] = {
    {L"5E0C2A91.Tansy", L"5E0C2A91.Tansy_k4m2x9trq7bw3", 2, 0},
};
// Lower case: the client's name is folded before it is compared.
inline constexpr ExcusedClient kExcusedExecutables[] = {
    {L"hotkeyserviceuwp", L"", 8, 9},
    {L"qvhotkeynotification", L"", 8, 9},
    {L"hotkeyservicedsu", L"", 8, 9},
};

class MatchingDescriptor {
public:
    enum Operation : int32_t {
        Exempt = 0,
    };

    MatchingDescriptor() = default;
    MatchingDescriptor(const MatchingDescriptor& other) = default;
    MatchingDescriptor& operator=(const MatchingDescriptor& other) = default;

    // How the descriptor is to be applied; the version criteria do not consult it.
    Operation operation = Exempt;
};

class UwpMatchingDescriptor : public MatchingDescriptor {
public:
    UwpMatchingDescriptor(Server::Uwp::UwpInformation client, Operation operation);
    UwpMatchingDescriptor(const UwpMatchingDescriptor& other);
    UwpMatchingDescriptor& operator=(const UwpMatchingDescriptor& other);
    ~UwpMatchingDescriptor();

    Server::Uwp::UwpInformation client;  // family name and the highest excused version
};

class Win32MatchingDescriptor : public MatchingDescriptor {
public:
    Win32MatchingDescriptor(Server::Win32::Win32Information client, Operation operation);
    Win32MatchingDescriptor(const Win32MatchingDescriptor& other);
    Win32MatchingDescriptor& operator=(const Win32MatchingDescriptor& other);
    ~Win32MatchingDescriptor();

    Server::Win32::Win32Information client;  // lower-case name and the highest excused version
};

class IClientWithNoQvManifestCheckCriteria {
public:
    virtual ~IClientWithNoQvManifestCheckCriteria();
    virtual bool IsAnException() = 0;
};

using UwpExemptionList = std::vector<UwpMatchingDescriptor>;
using Win32ExemptionList = std::vector<Win32MatchingDescriptor>;

// Matches the client's family name exactly (case-sensitive); a version not newer than the
// descriptor's is exempt.
class UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion : public IClientWithNoQvManifestCheckCriteria {
public:
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::shared_ptr<UwpExemptionList> exemptions,
                                                        std::shared_ptr<Server::Uwp::UwpInformation> client);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion&);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& operator=(
        const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion&);
    ~UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion() override;

    bool IsAnException() override;

private:
    std::shared_ptr<UwpExemptionList> exemptions;
    std::shared_ptr<Server::Uwp::UwpInformation> client;
};

// Folds the client's executable name to lower case in place (single-byte characters only),
// then matches it exactly against the lower-case descriptor names. The record is changed, so a
// record must not be evaluated on two threads at once.
class Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion : public IClientWithNoQvManifestCheckCriteria {
public:
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::shared_ptr<Win32ExemptionList> exemptions,
                                                          std::shared_ptr<Server::Win32::Win32Information> client);
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
        const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&);
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& operator=(
        const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&);
    ~Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion() override;

    bool IsAnException() override;

private:
    std::shared_ptr<Win32ExemptionList> exemptions;
    std::shared_ptr<Server::Win32::Win32Information> client;
};

// The built-in lists, built at module start-up and read-only afterwards. GetExemption hands out
// a copy so that no criterion can change them.
class UwpWithNoQVManifestExemptionWhiteList {
public:
    static std::shared_ptr<UwpExemptionList> GetExemption();
    static const UwpExemptionList _white_list;
};

class Win32WithNoQVManifestExemptionWhiteList {
public:
    static std::shared_ptr<Win32ExemptionList> GetExemption();
    static const Win32ExemptionList _white_list;
};

class bridge_access_exception : public std::exception {
public:
    explicit bridge_access_exception(const std::string& message);
    explicit bridge_access_exception(const char* message);
    bridge_access_exception(const bridge_access_exception& other);
    bridge_access_exception(bridge_access_exception&& other) noexcept;
    bridge_access_exception& operator=(const bridge_access_exception& other);
    ~bridge_access_exception() override;

    const char* what() const noexcept override;

private:
    std::string message;
};

// Asking before the host has set the matching criterion is the host's error: it throws rather
// than guess a default either way.
class BridgeAccessManager {
public:
    BridgeAccessManager();
    BridgeAccessManager(const BridgeAccessManager& other);
    BridgeAccessManager& operator=(const BridgeAccessManager& other);
    ~BridgeAccessManager();

    void SetUwpChecker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker);
    void SetWin32Checker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker);
    bool IsUwpExempt() const;
    bool IsWin32Exempt() const;

private:
    std::shared_ptr<IClientWithNoQvManifestCheckCriteria> uwpChecker;
    std::shared_ptr<IClientWithNoQvManifestCheckCriteria> win32Checker;
};

}  // namespace Qv::Bridge::Security
