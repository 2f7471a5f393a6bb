// Exemption of clients without a signed manifest, and the access manager that holds the criteria.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "security/ExemptionRules.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Security;
using Bridge::Server::Uwp::UwpInformation;
using Bridge::Server::Win32::Win32Information;

constexpr const wchar_t* kTansyFamily = L"5E0C2A91.Tansy_k4m2x9trq7bw3";

// Drives a check the way a host does: record, criterion from the built-in list, manager.
bool UwpExempt(const std::wstring& familyName, uint16_t major, uint16_t minor) {
    auto client = std::make_shared<UwpInformation>(L"5E0C2A91.Tansy", familyName, major, minor);
    BridgeAccessManager manager;
    manager.SetUwpChecker(std::make_shared<UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        UwpWithNoQVManifestExemptionWhiteList::GetExemption(), client));
    return manager.IsUwpExempt();
}

bool Win32Exempt(std::shared_ptr<Win32Information> client) {
    BridgeAccessManager manager;
    manager.SetWin32Checker(std::make_shared<Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        Win32WithNoQVManifestExemptionWhiteList::GetExemption(), std::move(client)));
    return manager.IsWin32Exempt();
}

TEST(ExemptionRulesTest, StoreAppIsExemptUpToItsListedVersionByExactFamilyName) {
    EXPECT_TRUE(UwpExempt(kTansyFamily, 2, 0));
    EXPECT_TRUE(UwpExempt(kTansyFamily, 1, 9));
    EXPECT_TRUE(UwpExempt(kTansyFamily, 1, 65535));
    EXPECT_FALSE(UwpExempt(kTansyFamily, 2, 1));
    EXPECT_FALSE(UwpExempt(kTansyFamily, 3, 0));
    EXPECT_FALSE(UwpExempt(L"5e0c2a91.tansy_k4m2x9trq7bw3", 2, 0));
    EXPECT_FALSE(UwpExempt(L"5E0C2A91.Tansy", 2, 0));  // the package name alone is not the family
    EXPECT_FALSE(UwpExempt(std::wstring(kTansyFamily) + L"x", 1, 0));
}

TEST(ExemptionRulesTest, ExecutableIsFoldedInPlaceThenExemptUpToItsListedVersion) {
    auto client = std::make_shared<Win32Information>(L"HotKeyServiceUWP", 8, 9);
    EXPECT_TRUE(Win32Exempt(client));
    EXPECT_EQ(client->path, L"hotkeyserviceuwp");
    EXPECT_EQ(client->id, L"HotKeyServiceUWP");

    EXPECT_FALSE(Win32Exempt(std::make_shared<Win32Information>(L"HotKeyServiceUWP", 8, 10)));
    EXPECT_TRUE(Win32Exempt(std::make_shared<Win32Information>(L"HotKeyServiceUWP", 7, 99)));
    EXPECT_FALSE(Win32Exempt(std::make_shared<Win32Information>(L"HotKeyServiceUWP", 9, 0)));
    EXPECT_TRUE(Win32Exempt(std::make_shared<Win32Information>(L"QVHotKeyNotification", L"x", 8, 0)));
    EXPECT_TRUE(Win32Exempt(std::make_shared<Win32Information>(L"hotkeyservicedsu", 1, 0)));
    EXPECT_FALSE(Win32Exempt(std::make_shared<Win32Information>(L"C:\\Tools\\HotKeyServiceUWP.exe", 1, 0)));

    // Only single-byte characters are folded; wider ones pass through unchanged.
    auto wide = std::make_shared<Win32Information>(L"HotKey\u0130\u00FF", 1, 0);
    EXPECT_FALSE(Win32Exempt(wide));
    EXPECT_EQ(wide->path, L"hotkey\u0130\u00FF");
}

TEST(ExemptionRulesTest, MissingOrEmptyListOrClientIsNotExempt) {
    auto uwp = std::make_shared<UwpInformation>(L"5E0C2A91.Tansy", kTansyFamily, 1, 0);
    auto win32 = std::make_shared<Win32Information>(L"HotKeyServiceUWP", 1, 0);
    EXPECT_FALSE(UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::make_shared<UwpExemptionList>(), uwp)
                     .IsAnException());
    EXPECT_FALSE(UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(nullptr, uwp).IsAnException());
    EXPECT_FALSE(UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(
                     UwpWithNoQVManifestExemptionWhiteList::GetExemption(), nullptr)
                     .IsAnException());
    EXPECT_FALSE(Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::make_shared<Win32ExemptionList>(), win32)
                     .IsAnException());
    EXPECT_FALSE(Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(nullptr, win32).IsAnException());
    EXPECT_FALSE(Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
                     Win32WithNoQVManifestExemptionWhiteList::GetExemption(), nullptr)
                     .IsAnException());
}

TEST(ExemptionRulesTest, AccessManagerThrowsUntilEachCheckerIsSet) {
    auto message = [](auto&& ask) {
        try {
            ask();
        } catch (const bridge_access_exception& e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    BridgeAccessManager manager;
    EXPECT_EQ(message([&] { manager.IsUwpExempt(); }),
              "The Behavior was not defined. A call to SetUwpChecker must be done.");
    EXPECT_EQ(message([&] { manager.IsWin32Exempt(); }),
              "The Behavior was not defined. A call to SetWin32Checker must be done.");

    manager.SetUwpChecker(std::make_shared<UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        UwpWithNoQVManifestExemptionWhiteList::GetExemption(),
        std::make_shared<UwpInformation>(L"", kTansyFamily, 2, 0)));
    EXPECT_TRUE(manager.IsUwpExempt());
    EXPECT_THROW(manager.IsWin32Exempt(), bridge_access_exception);

    const BridgeAccessManager copy = manager;
    manager.SetUwpChecker(nullptr);
    EXPECT_THROW(manager.IsUwpExempt(), bridge_access_exception);
    EXPECT_TRUE(copy.IsUwpExempt());

    manager.SetWin32Checker(std::make_shared<Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        Win32WithNoQVManifestExemptionWhiteList::GetExemption(), std::make_shared<Win32Information>(L"other", 1, 0)));
    EXPECT_FALSE(manager.IsWin32Exempt());
}

TEST(ExemptionRulesTest, GetExemptionHandsOutIndependentCopies) {
    auto uwp = UwpWithNoQVManifestExemptionWhiteList::GetExemption();
    ASSERT_EQ(uwp->size(), 1u);
    (*uwp)[0].client.packageFamilyName = L"changed";
    uwp->clear();
    EXPECT_EQ(UwpWithNoQVManifestExemptionWhiteList::GetExemption()->at(0).client.packageFamilyName, kTansyFamily);

    auto win32 = Win32WithNoQVManifestExemptionWhiteList::GetExemption();
    ASSERT_EQ(win32->size(), 3u);
    (*win32)[0].client.path = L"changed";
    EXPECT_EQ(Win32WithNoQVManifestExemptionWhiteList::_white_list[0].client.path, L"hotkeyserviceuwp");
}

}  // namespace
}  // namespace Qv::Tests
