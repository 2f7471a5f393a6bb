#pragma once
// Store packages for the service family: which users have a package, a package's full name,
// registering a package for the signed-in user, and whether a publisher's application is there.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qv/Boundary.h"

namespace Qv::Bridge::Server::Uwp {

// One installed package as the package manager describes it.
struct UwpPackage {
    std::wstring name;
    std::wstring publisher;
    std::wstring publisherId;
    std::wstring familyName;
    std::wstring fullName;
    std::wstring version;
    std::wstring installLocation;
};

// One package for one user: the account name and the package's install state for that user
// (0 not installed, 1 staged, 2 installed, 6 paused).
class QV_CLASS UwpPackageModel {
public:
    UwpPackageModel();
    UwpPackageModel(std::wstring userName, int32_t installState);
    UwpPackageModel(const UwpPackageModel& other);
    UwpPackageModel& operator=(const UwpPackageModel& other);
    ~UwpPackageModel();

    const std::wstring& UserName() const;
    int32_t InstallState() const;

private:
    std::wstring userName_;
    int32_t installState_;
};

// The table: the scalar deleting destructor, then GetPackagesPerUser, GetPackageFullName,
// RegisterPackage and FindPackages. Not copyable.
class QV_CLASS UwpPackageDataAccess {
public:
    UwpPackageDataAccess();
    UwpPackageDataAccess(const UwpPackageDataAccess&) = delete;
    UwpPackageDataAccess& operator=(const UwpPackageDataAccess&) = delete;
    virtual ~UwpPackageDataAccess();

    // One model per user that has the family's package; empty when none or on failure (logged).
    virtual std::vector<std::shared_ptr<UwpPackageModel>> GetPackagesPerUser(const std::wstring& packageFamilyName);
    // The full name of the family's installed package; empty when none is installed.
    virtual std::wstring GetPackageFullName(const std::wstring& packageFamilyName);
    // Registers the family's package for the signed-in user, when the calling thread acts as
    // SYSTEM and the user has an administrator's split token.
    virtual bool RegisterPackage(const std::wstring& packageFamilyName);
    // Whether an installed package has this publisher id and application name.
    virtual bool FindPackages(const std::wstring& publisherId, const std::wstring& appName);

    // The family's installed packages as records (every user's).
    std::vector<UwpPackage> GetPackages(const std::wstring& packageFamilyName);

private:
    void* implementation_;
};

}  // namespace Qv::Bridge::Server::Uwp

namespace Qv::Bridge::Server::Services::Registration {

// Base64 through the system's crypt32. No state.
class QV_CLASS CryptographyHelper {
public:
    CryptographyHelper();
    ~CryptographyHelper();

    // The bytes of a base64 text; empty (logged) when it is not base64 or cannot be decoded.
    std::vector<uint8_t> DecodeBase64(const std::wstring& text) const;
    // The base64 text of the bytes on one line; empty for no bytes or a failure (logged).
    std::wstring EncodeBase64(const std::vector<uint8_t>& bytes) const;
};

}  // namespace Qv::Bridge::Server::Services::Registration

// A new, empty model (no user, state 0); the caller owns it and deletes it.
extern "C" QV_CLASS Qv::Bridge::Server::Uwp::UwpPackageModel* CreateUwpPackageModel();
// A new base64 helper, shared.
extern "C" QV_CLASS std::shared_ptr<Qv::Bridge::Server::Services::Registration::CryptographyHelper>
CreateCryptographyHelper();
