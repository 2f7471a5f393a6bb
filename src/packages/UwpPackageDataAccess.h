#pragma once
// Store packages for the service family: which users have a package, a package's full name,
// registering a package for the signed-in user (the service runs as SYSTEM, the package must be
// registered as the user), and whether a publisher's application is installed at all.
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/logging.h"
#include "packages/UwpPackage.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Uwp {

class UwpPackageDataAccess {
public:
    UwpPackageDataAccess();  // on the installed platform
    explicit UwpPackageDataAccess(platform::Platform& platform);
    virtual ~UwpPackageDataAccess();

    // One model per user that has the family's package; empty when none or on failure (logged).
    virtual std::vector<std::shared_ptr<UwpPackageModel>> GetPackagesPerUser(const std::wstring& packageFamilyName);
    // The full name of the family's installed package; empty when none is installed.
    virtual std::wstring GetPackageFullName(const std::wstring& packageFamilyName);
    // Registers the family's package for the signed-in user; only a service running as SYSTEM
    // can, and only for a user with an administrator's split token.
    virtual bool RegisterPackage(const std::wstring& packageFamilyName);
    // Whether any installed package has this publisher id and application name.
    virtual bool FindPackages(const std::wstring& publisherId, const std::wstring& appName);

    // The family's installed packages as records (every user's).
    std::vector<UwpPackage> GetPackages(const std::wstring& packageFamilyName);

private:
    std::wstring SidToAccountName(const std::wstring& sidString);
    bool IsRunningAsSystem() const;

    // Serialises package enumeration across every instance.
    static std::mutex rLock;

    platform::Platform* platform_;  // null: the installed platform at each call
    Logging::TraceLogger* logger_;
    platform::Platform& Ports() const;
};

}  // namespace Qv::Bridge::Server::Uwp
