#include "platform/sim/SimStorePackages.h"

#include <algorithm>
#include <stdexcept>

namespace Qv::Sim {
namespace {

constexpr int32_t kClassNotRegistered = static_cast<int32_t>(0x80040154);  // REGDB_E_CLASSNOTREG
constexpr int32_t kNoneMapped = 1332;                                     // ERROR_NONE_MAPPED
constexpr int32_t kInvalidSid = 1337;                                     // ERROR_INVALID_SID
constexpr int32_t kInvalidHandle = 6;
constexpr int32_t kInstalled = 2;

}  // namespace

platform::StorePackage SimStorePackages::Package(const std::wstring& familyName, const std::wstring& version) {
    platform::StorePackage package;
    const size_t cut = familyName.rfind(L'_');
    package.name = familyName.substr(0, cut);
    package.publisherId = cut == std::wstring::npos ? L"" : familyName.substr(cut + 1);
    package.publisher = L"CN=" + package.name;
    package.familyName = familyName;
    package.version = version;
    package.fullName = package.name + L"_" + version + L"_x64__" + package.publisherId;
    package.installLocation = L"C:\\Program Files\\WindowsApps\\" + package.fullName;
    return package;
}

void SimStorePackages::Install(const platform::StorePackage& package, const std::vector<std::wstring>& users) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    SimWorld::Package entry{package, {}};
    for (const std::wstring& user : users) entry.users.push_back({user, kInstalled});
    world_.packages.push_back(std::move(entry));
}

void SimStorePackages::SetAvailable(bool available) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.packageManagerAvailable = available;
}

platform::Result<std::vector<platform::StorePackage>> SimStorePackages::AllPackages() {
    QV_SIM_FAULT(world_.faults, Packages);
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (!world_.packageManagerAvailable) return platform::Failure{kClassNotRegistered};
    std::vector<platform::StorePackage> found;
    for (const auto& entry : world_.packages)
        if (!entry.users.empty()) found.push_back(entry.package);
    return found;
}

platform::Result<std::vector<platform::StorePackage>> SimStorePackages::PackagesOfFamily(
    const std::wstring& familyName, const std::wstring& userSecurityId) {
    QV_SIM_FAULT(world_.faults, Packages);
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (!world_.packageManagerAvailable) return platform::Failure{kClassNotRegistered};
    std::vector<platform::StorePackage> found;
    for (const auto& entry : world_.packages) {
        if (entry.package.familyName != familyName) continue;
        const bool forUser = std::any_of(entry.users.begin(), entry.users.end(), [&](const platform::PackageUser& user) {
            return userSecurityId.empty() || user.userSecurityId == userSecurityId;
        });
        if (forUser && !entry.users.empty()) found.push_back(entry.package);
    }
    return found;
}

platform::Result<std::vector<platform::PackageUser>> SimStorePackages::UsersOf(const std::wstring& fullName) {
    QV_SIM_FAULT(world_.faults, Packages);
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (!world_.packageManagerAvailable) return platform::Failure{kClassNotRegistered};
    for (const auto& entry : world_.packages)
        if (entry.package.fullName == fullName) return entry.users;
    return std::vector<platform::PackageUser>{};
}

void SimStorePackages::ThrowOnNextRegistration() { throwOnRegistration_ = true; }

platform::Result<bool> SimStorePackages::RegisterByFamilyName(const std::wstring& familyName) {
    QV_SIM_FAULT(world_.faults, Packages);
    if (throwOnRegistration_.exchange(false)) throw std::runtime_error("the deployment raised");
    std::lock_guard<std::mutex> lock(world_.mutex);
    if (!world_.packageManagerAvailable) return platform::Failure{kClassNotRegistered};
    // Registered for whoever calls: without impersonation that would be the service's own account.
    const std::wstring user = ThreadUser(world_);
    for (auto& entry : world_.packages) {
        if (entry.package.familyName != familyName) continue;
        for (auto& existing : entry.users)
            if (existing.userSecurityId == user) {
                existing.installState = kInstalled;
                return true;
            }
        entry.users.push_back({user, kInstalled});
        return true;
    }
    return false;  // nothing of the family is staged: the deployment fails
}

platform::Result<std::wstring> SimStorePackages::AccountName(const std::wstring& userSecurityId) {
    QV_SIM_FAULT(world_.faults, Packages);
    if (userSecurityId.rfind(L"S-1-", 0) != 0) return platform::Failure{kInvalidSid};
    std::lock_guard<std::mutex> lock(world_.mutex);
    const auto found = world_.accounts.find(userSecurityId);
    if (found == world_.accounts.end()) return platform::Failure{kNoneMapped};
    return found->second;
}

platform::Result<std::wstring> SimStorePackages::TokenUser(platform::UserToken token) {
    QV_SIM_FAULT(world_.faults, Packages);
    if (token == nullptr) return platform::Failure{kInvalidHandle};
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.userSecurityId;
}

}  // namespace Qv::Sim
