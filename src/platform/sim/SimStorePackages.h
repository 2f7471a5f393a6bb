#pragma once
#include <atomic>

#include "platform/IStorePackages.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The world's store packages. Strict as the package manager is: a registration needs the
// caller to impersonate the user it is for and the family to be staged on the machine; an
// unknown SID has no account; without a package manager every call fails as activation does.
class SimStorePackages : public platform::IStorePackages {
public:
    explicit SimStorePackages(SimWorld& world) : world_(world) {}

    platform::Result<std::vector<platform::StorePackage>> AllPackages() override;
    platform::Result<std::vector<platform::StorePackage>> PackagesOfFamily(const std::wstring& familyName,
                                                                          const std::wstring& userSecurityId) override;
    platform::Result<std::vector<platform::PackageUser>> UsersOf(const std::wstring& fullName) override;
    platform::Result<bool> RegisterByFamilyName(const std::wstring& familyName) override;
    platform::Result<std::wstring> AccountName(const std::wstring& userSecurityId) override;
    platform::Result<std::wstring> TokenUser(platform::UserToken token) override;

    // Arrangement: a package of `familyName` (name "_" publisher id) at `version`, installed for
    // the given users (SID texts; install state 2).
    static platform::StorePackage Package(const std::wstring& familyName, const std::wstring& version);
    void Install(const platform::StorePackage& package, const std::vector<std::wstring>& users);
    void SetAvailable(bool available);
    // The next registration raises (the runtime's exception out of the deployment).
    void ThrowOnNextRegistration();

private:
    SimWorld& world_;
    std::atomic<bool> throwOnRegistration_{false};
};

}  // namespace Qv::Sim
