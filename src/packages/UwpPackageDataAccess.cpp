#include "packages/UwpPackageDataAccess.h"

#include <stdexcept>

#include "core/strings.h"
#include "shared/user/UserSession.h"

namespace Qv::Bridge::Server::Uwp {
namespace {

constexpr const char* kClass = "UwpPackageDataAccess";
// TOKEN_ELEVATION_TYPE of a token with no split administrator half.
constexpr int32_t kElevationTypeDefault = 1;

UwpPackage Record(const platform::StorePackage& package) {
    return UwpPackage{package.name,       package.publisher, package.publisherId,    package.familyName,
                      package.fullName,   package.version,   package.installLocation};
}

}  // namespace

using Logging::LogManager;
using Services::DeviceControl::ScopedImpersonation;
using Services::DeviceControl::UserSession;

std::mutex UwpPackageDataAccess::rLock;

UwpPackageDataAccess::UwpPackageDataAccess() : platform_(nullptr), logger_(LogManager::GetSystemInformationLogger()) {}

UwpPackageDataAccess::UwpPackageDataAccess(platform::Platform& platform)
    : platform_(&platform), logger_(LogManager::GetSystemInformationLogger()) {}

UwpPackageDataAccess::~UwpPackageDataAccess() = default;

platform::Platform& UwpPackageDataAccess::Ports() const {
    return platform_ != nullptr ? *platform_ : platform::Current();
}

std::vector<UwpPackage> UwpPackageDataAccess::GetPackages(const std::wstring& packageFamilyName) {
    auto packages = Ports().Packages().PackagesOfFamily(packageFamilyName, L"");
    if (!packages) {
        Logging::LogComFailure(logger_, kClass, "GetPackages", L"PackageManager->FindPackages(familyName)",
                               static_cast<unsigned long>(packages.Status()));
        return {};
    }
    std::vector<UwpPackage> records;
    for (const auto& package : *packages) records.push_back(Record(package));
    return records;
}

std::vector<std::shared_ptr<UwpPackageModel>> UwpPackageDataAccess::GetPackagesPerUser(
    const std::wstring& packageFamilyName) {
    logger_->LogInfo(L"Enumeration of users with %ls is about to start.", packageFamilyName.c_str());
    std::vector<std::shared_ptr<UwpPackageModel>> models;
    platform::IStorePackages& store = Ports().Packages();
    for (const UwpPackage& package : GetPackages(packageFamilyName)) {
        auto users = store.UsersOf(package.fullName);
        if (!users) {
            Logging::LogComFailure(logger_, kClass, "GetPackagesPerUser", L"PackageManager->FindUsers",
                                   static_cast<unsigned long>(users.Status()));
            continue;
        }
        for (const platform::PackageUser& user : *users) {
            const std::wstring account = SidToAccountName(user.userSecurityId);
            logger_->LogInfo(L"Package for user: %ls. InstallState: %d", account.c_str(), user.installState);
            models.push_back(std::make_shared<UwpPackageModel>(account, user.installState));
        }
    }
    return models;
}

std::wstring UwpPackageDataAccess::GetPackageFullName(const std::wstring& packageFamilyName) {
    const std::vector<UwpPackage> packages = GetPackages(packageFamilyName);
    return packages.empty() ? std::wstring() : packages.front().fullName;
}

bool UwpPackageDataAccess::RegisterPackage(const std::wstring& packageFamilyName) {
    if (!IsRunningAsSystem()) {
        logger_->LogWarning(L"Not a System user");
        return false;
    }
    const wchar_t* name = packageFamilyName.c_str();
    logger_->LogInfo(L"Attempting to register %ls", name);
    platform::IUserSession& user = Ports().User();
    try {
        auto token = UserSession(Ports()).UserToken();
        if (!token) {
            logger_->LogError(L"Problem during registration of %ls. Initial Token Retrieval Operation. Error Code: %d",
                              name, token.Status());
            return false;
        }
        // A standard user's token has no linked half: noted, and the elevation type decides.
        if (auto linked = user.LinkedToken(token->get()); !linked)
            logger_->LogError(L"Problem during registration of %ls. Linked Token Operation. Error Code: %d", name,
                              linked.Status());
        auto elevation = user.ElevationType(token->get());
        if (!elevation) {
            // Without the type there is no telling whether the user may have the package.
            logger_->LogError(L"Problem during registration of %ls. Elevated Token Operation. Error Code: %d", name,
                              elevation.Status());
            return false;
        }
        if (*elevation == kElevationTypeDefault)
            throw std::runtime_error("Impersonated user is not part of the Admin. group.");
        platform::Result<bool> registered = platform::Failure{0};
        {
            // Reverted on every way out, an exception from the package manager's included.
            ScopedImpersonation impersonation(user, token->get(), [&](int32_t status) {
                logger_->LogError(L"Problem during registration of %ls. Reverting Impersonation. Error Code: %d", name,
                                  status);
            });
            if (!impersonation) {
                logger_->LogError(L"Problem during registration of %ls. Impersonation Operation. Error Code: %d", name,
                                  impersonation.Status());
                return false;
            }
            logger_->LogInfo(L"Impersonating user so UWP can be registered.");
            registered = Ports().Packages().RegisterByFamilyName(packageFamilyName);
        }
        if (!registered)
            Logging::LogComFailure(logger_, kClass, "RegisterPackage",
                                   L"PackageManager->RegisterPackageByFamilyNameAsync",
                                   static_cast<unsigned long>(registered.Status()));
        const bool result = registered.ValueOr(false);
        logger_->LogInfo(L"%S registered? %d", Core::Narrow(packageFamilyName).c_str(), result ? 1 : 0);
        return result;
    } catch (const std::exception& error) {
        logger_->LogError(L"%S.%S - %S", kClass, "RegisterPackage", error.what());
        return false;
    }
}

bool UwpPackageDataAccess::FindPackages(const std::wstring& publisherId, const std::wstring& appName) {
    std::lock_guard<std::mutex> lock(rLock);
    logger_->LogInfo(L"Enumeration all uwp packages with FindPackages()");
    auto packages = Ports().Packages().AllPackages();
    if (!packages) {
        Logging::LogComFailure(logger_, kClass, "FindPackages", L"PackageManager->FindPackages",
                               static_cast<unsigned long>(packages.Status()));
        return false;
    }
    for (const platform::StorePackage& package : *packages) {
        if (package.publisherId == publisherId && package.name == appName) {
            logger_->LogInfo(L"Package for Publisher Id %s and App %s is detected as installed", publisherId.c_str(),
                             appName.c_str());
            return true;
        }
    }
    logger_->LogInfo(L"Package for Publisher Id %s and App %s was NOT detected as installed", publisherId.c_str(),
                     appName.c_str());
    return false;
}

std::wstring UwpPackageDataAccess::SidToAccountName(const std::wstring& sidString) {
    auto account = Ports().Packages().AccountName(sidString);
    if (!account) {
        Logging::LogApiError(logger_, kClass, "SidToAccountName", L"LookupAccountSidW", account.Status());
        return {};
    }
    return *account;
}

// The calling thread's user: a host thread that impersonates a client is not the system.
bool UwpPackageDataAccess::IsRunningAsSystem() const { return Ports().User().ThreadRunsAsSystem(); }

}  // namespace Qv::Bridge::Server::Uwp
