// Store packages and base64 for the service family, on the simulated laptop.
#include "packages/CryptographyHelper.h"
#include "packages/UwpPackageDataAccess.h"
#include "packages/sim/SimBase64.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using Bridge::Server::Services::Registration::CryptographyHelper;
using Bridge::Server::Uwp::UwpPackageDataAccess;

constexpr const wchar_t* kFamily = L"5E0C2A91.LumenCenter_k4m2x9trq7bw3";
constexpr const wchar_t* kAvery = L"S-1-5-21-2079104543-3203125434-1873629513-1001";

class PackagesTest : public ServiceFixture {
protected:
    void Install(const std::wstring& family, std::vector<std::wstring> users) {
        device.SimulatedPackages().Install(Sim::SimStorePackages::Package(family, L"3.1.0.0"), users);
    }
    std::vector<std::wstring> UsersOf(const std::wstring& family) {
        std::vector<std::wstring> users;
        device.WithWorld([&](Sim::SimWorld& world) {
            for (const auto& entry : world.packages)
                if (entry.package.familyName == family)
                    for (const auto& user : entry.users) users.push_back(user.userSecurityId);
        });
        return users;
    }
    UwpPackageDataAccess packages{device};
};

TEST_F(PackagesTest, UsersOfAPackageByAccountNameWithTheirInstallState) {
    Install(kFamily, {kAvery, L"S-1-5-21-9-9-9-1005"});
    Install(L"Other.App_1111111111111", {kAvery});
    const auto models = packages.GetPackagesPerUser(kFamily);
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[0]->UserName(), L"Avery");
    EXPECT_EQ(models[0]->InstallState(), 2);
    // A SID that names no account: an empty name, and the failed lookup in the log.
    EXPECT_EQ(models[1]->UserName(), L"");
    EXPECT_TRUE(log->Contains(L"Enumeration of users with 5E0C2A91.LumenCenter_k4m2x9trq7bw3 is about to start."));
    EXPECT_TRUE(log->Contains(L"Package for user: Avery. InstallState: 2"));
    EXPECT_TRUE(log->Contains(L"UwpPackageDataAccess.SidToAccountName - Windows API LookupAccountSidW error, "
                              L"GetLastError = 1332"));

    EXPECT_EQ(packages.GetPackageFullName(kFamily), L"5E0C2A91.LumenCenter_3.1.0.0_x64__k4m2x9trq7bw3");
    EXPECT_EQ(packages.GetPackageFullName(L"5E0C2A91.LumenCenter_0000000000000"), L"");
    EXPECT_TRUE(packages.GetPackagesPerUser(L"Missing.App_1234567890123").empty());
}

TEST_F(PackagesTest, RegistrationIsForTheSignedInAdministratorAsThemselves) {
    Install(kFamily, {});  // staged on the machine, registered for nobody
    EXPECT_TRUE(packages.RegisterPackage(kFamily));
    EXPECT_EQ(UsersOf(kFamily), std::vector<std::wstring>{kAvery}) << "registered as the user, not as SYSTEM";
    EXPECT_FALSE(device.Impersonating());
    EXPECT_TRUE(log->Contains(L"Attempting to register 5E0C2A91.LumenCenter_k4m2x9trq7bw3"));
    EXPECT_TRUE(log->Contains(L"Impersonating user so UWP can be registered."));
    EXPECT_TRUE(log->Contains(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3 registered? 1"));
    EXPECT_FALSE(log->Contains(L"Linked Token Operation"));

    // A family that nothing staged: the deployment fails, and the impersonation still ends.
    EXPECT_FALSE(packages.RegisterPackage(L"Missing.App_1234567890123"));
    EXPECT_TRUE(log->Contains(L"Missing.App_1234567890123 registered? 0"));
    EXPECT_FALSE(device.Impersonating());
}

TEST_F(PackagesTest, RegistrationIsRefusedOutsideItsRules) {
    Install(kFamily, {});
    // Not the system account: nothing is tried.
    device.SetRunningAsSystem(false);
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_EQ(log->Count(LogLevel::Warning, L"Not a System user"), 1u);
    EXPECT_FALSE(log->Contains(L"Attempting to register"));
    device.SetRunningAsSystem(true);

    // A standard user (no split token): the missing linked token is noted, then refused.
    device.WithWorld([](Sim::SimWorld& world) { world.userElevationType = 1; });
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_TRUE(log->Contains(L"Problem during registration of 5E0C2A91.LumenCenter_k4m2x9trq7bw3. Linked Token "
                              L"Operation. Error Code: 1312"));
    EXPECT_TRUE(log->Contains(L"Impersonated user is not part of the Admin. group."));
    EXPECT_FALSE(log->Contains(L"Impersonating user so UWP can be registered."));
    EXPECT_TRUE(UsersOf(kFamily).empty());
    EXPECT_FALSE(device.Impersonating());

    // The elevated half of a token is an administrator's too.
    device.WithWorld([](Sim::SimWorld& world) { world.userElevationType = 2; });
    EXPECT_TRUE(packages.RegisterPackage(kFamily));

    // The user's token cannot be read for its elevation type, or cannot be impersonated: refused,
    // with the step in the log, and the thread left as it was. (The user port's last two calls of
    // a registration are the impersonation and the revert.)
    device.Faults().Reset();
    EXPECT_TRUE(packages.RegisterPackage(kFamily));
    const uint64_t calls = device.Faults().Calls(Sim::SimPort::User);
    device.Faults().FailNth(Sim::SimPort::User, calls - 1, 1346);
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_TRUE(log->Contains(L"Problem during registration of 5E0C2A91.LumenCenter_k4m2x9trq7bw3. Impersonation "
                              L"Operation. Error Code: 1346"));
    EXPECT_FALSE(device.Impersonating());
    device.Faults().FailNth(Sim::SimPort::User, calls - 2, 87);
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_TRUE(log->Contains(L"Problem during registration of 5E0C2A91.LumenCenter_k4m2x9trq7bw3. Elevated Token "
                              L"Operation. Error Code: 87"));
    EXPECT_FALSE(device.Impersonating());

    // Nobody signed in.
    device.SetSignedIn(false);
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_TRUE(log->Contains(L"Problem during registration of 5E0C2A91.LumenCenter_k4m2x9trq7bw3. Initial Token "
                              L"Retrieval Operation. Error Code: 1008"));
}

// "Running as SYSTEM" is the calling thread's user: a host thread that impersonates its client is
// not the system, and keeps its impersonation. Whatever the package manager does, the thread is
// back to itself afterwards.
TEST_F(PackagesTest, RegistrationLooksAtTheThreadAndAlwaysReverts) {
    Install(kFamily, {});
    int client = 0;
    ASSERT_TRUE(device.User().Impersonate(&client));
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_EQ(log->Count(LogLevel::Warning, L"Not a System user"), 1u);
    EXPECT_TRUE(device.Impersonating()) << "the caller's impersonation was dropped";
    EXPECT_TRUE(UsersOf(kFamily).empty());
    ASSERT_TRUE(device.User().RevertImpersonation());

    device.SimulatedPackages().ThrowOnNextRegistration();
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_TRUE(log->Contains(L"UwpPackageDataAccess.RegisterPackage - the deployment raised"));
    EXPECT_FALSE(device.Impersonating());
    EXPECT_TRUE(packages.RegisterPackage(kFamily));
    EXPECT_EQ(UsersOf(kFamily), std::vector<std::wstring>{kAvery});
    EXPECT_FALSE(device.Impersonating());
}

TEST_F(PackagesTest, FindPackagesMatchesPublisherIdAndNameExactly) {
    Install(kFamily, {kAvery});
    EXPECT_TRUE(packages.FindPackages(L"k4m2x9trq7bw3", L"5E0C2A91.LumenCenter"));
    EXPECT_TRUE(log->Contains(L"Enumeration all uwp packages with FindPackages()"));
    EXPECT_TRUE(log->Contains(
        L"Package for Publisher Id k4m2x9trq7bw3 and App 5E0C2A91.LumenCenter is detected as installed"));
    EXPECT_FALSE(packages.FindPackages(L"k4m2x9trq7bw4", L"5E0C2A91.LumenCenter"));
    EXPECT_TRUE(log->Contains(
        L"Package for Publisher Id k4m2x9trq7bw4 and App 5E0C2A91.LumenCenter was NOT detected as installed"));
    EXPECT_FALSE(packages.FindPackages(L"k4m2x9trq7bw3", L"5E0C2A91.Lumen"));
    // Staged for nobody is not installed.
    Install(L"Staged.App_aaaaaaaaaaaaa", {});
    EXPECT_FALSE(packages.FindPackages(L"aaaaaaaaaaaaa", L"Staged.App"));
}

TEST_F(PackagesTest, WithoutAPackageManagerEveryOperationFailsWithItsHresult) {
    Install(kFamily, {kAvery});
    device.SimulatedPackages().SetAvailable(false);
    EXPECT_TRUE(packages.GetPackagesPerUser(kFamily).empty());
    EXPECT_EQ(packages.GetPackageFullName(kFamily), L"");
    EXPECT_FALSE(packages.FindPackages(L"k4m2x9trq7bw3", L"5E0C2A91.LumenCenter"));
    EXPECT_FALSE(packages.RegisterPackage(kFamily));
    EXPECT_FALSE(device.Impersonating());
    EXPECT_EQ(log->Count(LogLevel::Warning, L"with HRESULT 0x80040154"), 4u);
    EXPECT_TRUE(log->Contains(L"UwpPackageDataAccess.FindPackages - failed on function PackageManager->FindPackages "
                              L"with HRESULT 0x80040154"));
    EXPECT_TRUE(log->Contains(L"UwpPackageDataAccess.RegisterPackage - failed on function "
                              L"PackageManager->RegisterPackageByFamilyNameAsync with HRESULT 0x80040154"));
}

TEST_F(PackagesTest, Base64BothWaysAndItsTwoFailures) {
    CryptographyHelper helper(device);
    EXPECT_EQ(helper.EncodeBase64({'H', 'e', 'l', 'l', 'o'}), L"SGVsbG8=");
    EXPECT_EQ(helper.EncodeBase64({0xFB, 0xFF}), L"+/8=");
    EXPECT_EQ(helper.EncodeBase64({}), L"");
    EXPECT_EQ(helper.DecodeBase64(L"SGVs\r\nbG8="), (std::vector<uint8_t>{'H', 'e', 'l', 'l', 'o'}));
    std::vector<uint8_t> every(256);
    for (size_t i = 0; i < every.size(); ++i) every[i] = static_cast<uint8_t>(i);
    for (size_t length : {0u, 1u, 2u, 3u, 4u, 256u}) {
        const std::vector<uint8_t> bytes(every.begin(), every.begin() + length);
        EXPECT_EQ(helper.DecodeBase64(helper.EncodeBase64(bytes)), bytes) << length;
    }
    EXPECT_EQ(log->Count(LogLevel::Error, L"Problem while finding the count of bytes to decode from base64."), 1u)
        << "only the empty text of length 0 is not base64";

    EXPECT_TRUE(helper.DecodeBase64(L"SGV$bG8=").empty());
    EXPECT_TRUE(helper.DecodeBase64(L"SGVsbG8").empty());
    EXPECT_EQ(log->Count(LogLevel::Error, L"Problem while finding the count of bytes to decode from base64."), 3u);
    device.Faults().FailNth(Sim::SimPort::Base64, 2, 87);  // the size is read, the decoding fails
    EXPECT_TRUE(helper.DecodeBase64(L"SGVsbG8=").empty());
    EXPECT_TRUE(log->Contains(L"Problem while decoding from base64. 87"));
}

}  // namespace
}  // namespace Qv::Tests
