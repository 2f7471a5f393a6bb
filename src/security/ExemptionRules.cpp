#include "security/ExemptionRules.h"

#include <cctype>
#include <utility>

namespace Qv::Bridge::Security {

using Server::Uwp::UwpInformation;
using Server::Win32::Win32Information;

namespace {

// Inclusive bound: the descriptor names the last version that is excused.
bool IsNotNewerThan(uint16_t clientMajor, uint16_t clientMinor, uint16_t major, uint16_t minor) {
    return clientMajor <= major && (clientMinor <= minor || clientMajor < major);
}

// Narrow tolower, applied only where a wide character fits in a byte; anything wider is left
// as it is rather than handed to a function that is undefined for it.
void FoldSingleByteToLower(std::wstring& text) {
    for (wchar_t& c : text) {
        const auto code = static_cast<uint32_t>(c);
        if (code <= 0xFF) c = static_cast<wchar_t>(std::tolower(static_cast<int>(code)));
    }
}

}  // namespace

UwpMatchingDescriptor::UwpMatchingDescriptor(UwpInformation client, Operation operation) : client(std::move(client)) {
    this->operation = operation;
}

UwpMatchingDescriptor::UwpMatchingDescriptor(const UwpMatchingDescriptor& other) = default;

UwpMatchingDescriptor& UwpMatchingDescriptor::operator=(const UwpMatchingDescriptor& other) = default;

UwpMatchingDescriptor::~UwpMatchingDescriptor() = default;

Win32MatchingDescriptor::Win32MatchingDescriptor(Win32Information client, Operation operation)
    : client(std::move(client)) {
    this->operation = operation;
}

Win32MatchingDescriptor::Win32MatchingDescriptor(const Win32MatchingDescriptor& other) = default;

Win32MatchingDescriptor& Win32MatchingDescriptor::operator=(const Win32MatchingDescriptor& other) = default;

Win32MatchingDescriptor::~Win32MatchingDescriptor() = default;

IClientWithNoQvManifestCheckCriteria::~IClientWithNoQvManifestCheckCriteria() = default;

UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    std::shared_ptr<UwpExemptionList> exemptions, std::shared_ptr<UwpInformation> client)
    : exemptions(std::move(exemptions)), client(std::move(client)) {}

UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion&) = default;

UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::operator=(
    const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion&) = default;

UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::~UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion() =
    default;

bool UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::IsAnException() {
    if (!exemptions || !client || exemptions->empty()) return false;
    for (const auto& descriptor : *exemptions) {
        const UwpInformation& excused = descriptor.client;
        if (excused.packageFamilyName != client->packageFamilyName) continue;
        if (IsNotNewerThan(client->major, client->minor, excused.major, excused.minor)) return true;
    }
    return false;
}

Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    std::shared_ptr<Win32ExemptionList> exemptions, std::shared_ptr<Win32Information> client)
    : exemptions(std::move(exemptions)), client(std::move(client)) {}

Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&) = default;

Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&
Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::operator=(
    const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&) = default;

Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::~Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion() =
    default;

bool Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::IsAnException() {
    if (!exemptions || !client || exemptions->empty()) return false;
    // In place: the record keeps the folded name after the check.
    FoldSingleByteToLower(client->path);
    for (const auto& descriptor : *exemptions) {
        const Win32Information& excused = descriptor.client;
        if (excused.path != client->path) continue;
        if (IsNotNewerThan(client->major, client->minor, excused.major, excused.minor)) return true;
    }
    return false;
}

const UwpExemptionList UwpWithNoQVManifestExemptionWhiteList::_white_list = [] {
    UwpExemptionList list;
    for (const ExcusedClient& excused : kExcusedStoreApps)
        list.emplace_back(UwpInformation(excused.first, excused.second, excused.major, excused.minor),
                          MatchingDescriptor::Exempt);
    return list;
}();

std::shared_ptr<UwpExemptionList> UwpWithNoQVManifestExemptionWhiteList::GetExemption() {
    return std::make_shared<UwpExemptionList>(_white_list);
}

const Win32ExemptionList Win32WithNoQVManifestExemptionWhiteList::_white_list = [] {
    Win32ExemptionList list;
    for (const ExcusedClient& excused : kExcusedExecutables)
        list.emplace_back(Win32Information(excused.first, excused.second, excused.major, excused.minor),
                          MatchingDescriptor::Exempt);
    return list;
}();

std::shared_ptr<Win32ExemptionList> Win32WithNoQVManifestExemptionWhiteList::GetExemption() {
    return std::make_shared<Win32ExemptionList>(_white_list);
}

bridge_access_exception::bridge_access_exception(const std::string& message) : message(message) {}

bridge_access_exception::bridge_access_exception(const char* message) : message(message ? message : "") {}

bridge_access_exception::bridge_access_exception(const bridge_access_exception& other) = default;

bridge_access_exception::bridge_access_exception(bridge_access_exception&& other) noexcept = default;

bridge_access_exception& bridge_access_exception::operator=(const bridge_access_exception& other) = default;

bridge_access_exception::~bridge_access_exception() = default;

const char* bridge_access_exception::what() const noexcept { return message.c_str(); }

BridgeAccessManager::BridgeAccessManager() = default;

BridgeAccessManager::BridgeAccessManager(const BridgeAccessManager& other) = default;

BridgeAccessManager& BridgeAccessManager::operator=(const BridgeAccessManager& other) = default;

BridgeAccessManager::~BridgeAccessManager() = default;

void BridgeAccessManager::SetUwpChecker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker) {
    uwpChecker = std::move(checker);
}

void BridgeAccessManager::SetWin32Checker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker) {
    win32Checker = std::move(checker);
}

bool BridgeAccessManager::IsUwpExempt() const {
    if (!uwpChecker) {
        throw bridge_access_exception("The Behavior was not defined. A call to SetUwpChecker must be done.");
    }
    return uwpChecker->IsAnException();
}

bool BridgeAccessManager::IsWin32Exempt() const {
    if (!win32Checker) {
        throw bridge_access_exception("The Behavior was not defined. A call to SetWin32Checker must be done.");
    }
    return win32Checker->IsAnException();
}

}  // namespace Qv::Bridge::Security
