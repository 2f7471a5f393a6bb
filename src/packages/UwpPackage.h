#pragma once
// The store-package records the package queries hand out.
#include <cstdint>
#include <string>


namespace Qv::Bridge::Server::Uwp {

// One installed package as the package manager reports it.
struct UwpPackage {
    std::wstring name;
    std::wstring publisher;
    std::wstring publisherId;
    std::wstring familyName;
    std::wstring fullName;
    std::wstring version;
    std::wstring installLocation;
};

// One package for one user: the user's account name and the package's install state for that
// user (PackageInstallState: 0 not installed, 1 staged, 2 installed, 6 paused).
class UwpPackageModel {
public:
    UwpPackageModel() = default;
    UwpPackageModel(std::wstring userName, int32_t installState)
        : userName_(std::move(userName)), installState_(installState) {}

    const std::wstring& UserName() const { return userName_; }
    int32_t InstallState() const { return installState_; }

private:
    std::wstring userName_;
    int32_t installState_ = 0;
};

}  // namespace Qv::Bridge::Server::Uwp
