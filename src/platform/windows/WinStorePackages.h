#pragma once
#include "platform/IStorePackages.h"

namespace Qv::platform::windows {

// The system's package manager runtime class (Windows.Management.Deployment.PackageManager),
// activated for each call on the calling thread; where it cannot be activated (Wine, systems
// without it) every call answers the activation's HRESULT.
class WinStorePackages : public IStorePackages {
public:
    Result<std::vector<StorePackage>> AllPackages() override;
    Result<std::vector<StorePackage>> PackagesOfFamily(const std::wstring& familyName,
                                                       const std::wstring& userSecurityId) override;
    Result<std::vector<PackageUser>> UsersOf(const std::wstring& fullName) override;
    Result<bool> RegisterByFamilyName(const std::wstring& familyName) override;
    Result<std::wstring> AccountName(const std::wstring& userSecurityId) override;
    Result<std::wstring> TokenUser(UserToken token) override;
};

}  // namespace Qv::platform::windows
