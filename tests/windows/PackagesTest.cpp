// The package classes on the Windows ports under Wine: base64 through the system's
// cryptography library, and the package queries where Wine has no package manager.
#include <windows.h>

#include <gtest/gtest.h>

#include "core/logging.h"
#include "packages/CryptographyHelper.h"
#include "packages/UwpPackageDataAccess.h"

namespace Qv::WindowsTests {
namespace {

using Bridge::Server::Uwp::UwpPackageDataAccess;

TEST(PackagesTest, Base64ThroughTheSystemLibrary) {
    Bridge::Logging::ScopedLogCapture log;
    auto helper = std::make_shared<Bridge::Server::Services::Registration::CryptographyHelper>();
    EXPECT_EQ(helper->EncodeBase64({'H', 'e', 'l', 'l', 'o'}), L"SGVsbG8=");
    EXPECT_EQ(helper->DecodeBase64(L"SGVsbG8="), (std::vector<uint8_t>{'H', 'e', 'l', 'l', 'o'}));
    std::vector<uint8_t> bytes(300);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
    EXPECT_EQ(helper->DecodeBase64(helper->EncodeBase64(bytes)), bytes);
    EXPECT_TRUE(helper->DecodeBase64(L"SGV$bG8=").empty());
    EXPECT_TRUE(log->Contains(L"Problem while finding the count of bytes to decode from base64."));
}

TEST(PackagesTest, QueriesFailCleanlyWithoutAPackageManager) {
    Bridge::Logging::ScopedLogCapture log;
    UwpPackageDataAccess packages;
    EXPECT_FALSE(packages.FindPackages(L"k4m2x9trq7bw3", L"5E0C2A91.LumenCenter"));
    EXPECT_TRUE(packages.GetPackagesPerUser(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3").empty());
    EXPECT_EQ(packages.GetPackageFullName(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3"), L"");
    // Wine runs the test as an ordinary user, so registration is refused before anything else.
    EXPECT_FALSE(packages.RegisterPackage(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3"));
    EXPECT_TRUE(log->Contains(L"UwpPackageDataAccess.FindPackages - failed on function PackageManager->FindPackages "
                              L"with HRESULT 0x80040154"));
    EXPECT_TRUE(log->Contains(L"Enumeration of users with 5E0C2A91.LumenCenter_k4m2x9trq7bw3 is about to start."));
    EXPECT_TRUE(log->Contains(L"Not a System user"));
}

}  // namespace
}  // namespace Qv::WindowsTests
