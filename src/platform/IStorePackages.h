#pragma once
// Store packages as the system's package manager knows them: which are installed, for whom,
// and registering one for the user this thread impersonates.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// One installed package, as the package manager describes it.
struct StorePackage {
    std::wstring name;         // "5E0C2A91.LumenCenter"
    std::wstring publisher;    // "CN=..."
    std::wstring publisherId;  // the 13-character hash in the family name
    std::wstring familyName;   // name + "_" + publisherId
    std::wstring fullName;     // name_version_architecture_resource_publisherId
    std::wstring version;      // "1.2.3.4"
    std::wstring installLocation;
};

// A user that has a package, with the package's install state for that user.
struct PackageUser {
    std::wstring userSecurityId;  // "S-1-5-21-..."
    int32_t installState = 0;     // PackageInstallState: 0 not installed, 1 staged, 2 installed, 3 paused
};

class IStorePackages {
public:
    virtual ~IStorePackages() = default;
    // Every package installed for any user.
    virtual Result<std::vector<StorePackage>> AllPackages() = 0;
    // The packages of a family: for one user (a SID text) or, with an empty SID, for every user.
    virtual Result<std::vector<StorePackage>> PackagesOfFamily(const std::wstring& familyName,
                                                               const std::wstring& userSecurityId) = 0;
    // The users that have the package of this full name.
    virtual Result<std::vector<PackageUser>> UsersOf(const std::wstring& fullName) = 0;
    // Registers the family's package for the user this thread impersonates and waits for the
    // deployment to end: whether it succeeded.
    virtual Result<bool> RegisterByFamilyName(const std::wstring& familyName) = 0;
    // "DOMAIN\name" style account name of a SID text (the name part only).
    virtual Result<std::wstring> AccountName(const std::wstring& userSecurityId) = 0;
    // The SID text of the token's user.
    virtual Result<std::wstring> TokenUser(UserToken token) = 0;
};

}  // namespace Qv::platform
