// Trust decisions against the simulated device's signatures, folders and RPC caller.
#include <gtest/gtest.h>

#include "core/command_line.h"
#include "core/logging.h"
#include "platform/sim/SimDevice.h"
#include "security/Authenticode.h"
#include "security/RpcSecurityHelper.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Security;
using Bridge::Logging::LogLevel;

constexpr int32_t kTrustNoSignature = static_cast<int32_t>(0x800B0100);
constexpr int32_t kUntrustedRoot = static_cast<int32_t>(0x800B0109);

const std::vector<uint8_t> kMakerKey{0x30, 0x82, 0x01, 0x0a, 0x02, 0x82, 0x01, 0x01, 0x00, 0xc3};
const std::vector<uint8_t> kOtherKey{0x30, 0x82, 0x01, 0x0a, 0x02, 0x82, 0x01, 0x01, 0x00, 0x7f};

platform::RawSignature Signature(const std::vector<uint8_t>& key, int32_t status = 0,
                                 std::wstring subject = L"CN=QV Inc., O=QV Inc., L=Lakeside, S=California, C=US",
                                 std::wstring issuer = L"CN=DigiCert SHA2 Assured ID Code Signing CA, O=DigiCert Inc") {
    return {key, status, std::move(subject), std::move(issuer)};
}

class AuthenticodeTest : public ::testing::Test {
protected:
    AuthenticodeTest() : facade(device, tables) {
        SignerInfo maker;
        maker.publicKey = FormatPublicKey(kMakerKey);
        tables.main = {maker};
        tables.extended = tables.main;
        tables.launchArgument = tables.main;
    }

    void TrustedWindowsApps(bool trustedInstaller, bool system) {
        platform::FolderAccess access{true, {}};
        if (trustedInstaller) access.entries.push_back({0, 0x10000000, L"NT SERVICE", L"TrustedInstaller"});
        if (system) access.entries.push_back({0, 0x10000000, L"NT AUTHORITY", L"SYSTEM"});
        access.entries.push_back({0, 0x10000000, L"BUILTIN", L"Administrators"});
        device.SetFolderAccess(L"C:\\Program Files\\WindowsApps", access);
    }

    Bridge::Logging::ScopedLogCapture log;
    Sim::SimDevice device;
    TrustTables tables;
    QVAuthenticodeFacade facade;
};

TEST_F(AuthenticodeTest, SignersAreReadWithKeysAsHexAndSubjectParts) {
    device.SetSignatures(L"C:\\Program Files\\QV\\tool.exe",
                         {Signature(kMakerKey, 0,
                                    L"CN=QV Inc., O=\"QV, Inc.\", L= Lakeside , S=California, C=US, OU=QV Cybersecurity"),
                          Signature(kOtherKey, kUntrustedRoot)});
    const SignerList signers = facade.GetSigners(L"c:\\program files\\qv\\TOOL.exe");
    ASSERT_EQ(signers.size(), 2u);
    EXPECT_EQ(signers[0].publicKey, "30 82 01 0a 02 82 01 01 00 c3");
    EXPECT_EQ(signers[0].organization, L"QV, Inc.");
    EXPECT_EQ(signers[0].locality, L"Lakeside");
    EXPECT_EQ(signers[0].state, L"California");
    EXPECT_EQ(signers[0].organizationalUnit, L"QV Cybersecurity");
    EXPECT_EQ(signers[0].issuer, L"DigiCert SHA2 Assured ID Code Signing CA");
    EXPECT_EQ(signers[1].status, kUntrustedRoot);
    EXPECT_TRUE(log->Contains(L"Subject = CN=QV Inc., O=\"QV, Inc.\""));
    EXPECT_TRUE(facade.GetSigners(L"C:\\Program Files\\QV\\tool.exe", /*useCatalog=*/true).empty());
    EXPECT_EQ(ParsePublicKey(signers[0].publicKey), kMakerKey);
    EXPECT_TRUE(ParsePublicKey("30 8").empty());
    EXPECT_TRUE(ParsePublicKey("30-82").empty());
}

TEST_F(AuthenticodeTest, FileTrustNeedsTheSystemAndAListedKey) {
    const std::wstring path = L"C:\\Program Files\\QV\\a.exe";
    device.SetSignatures(path, {Signature(kMakerKey)});
    EXPECT_TRUE(facade.IsFileTrusted(path.c_str(), &tables.main));
    EXPECT_TRUE(log->Contains(L"Security - IsFileTrusted - trusted by windows = true, trusted by Fusion = true"));

    device.SetSignatures(path, {Signature(kMakerKey, kCertExpired)});  // expired but otherwise valid
    EXPECT_TRUE(facade.IsFileTrusted(path.c_str(), &tables.main));

    device.SetSignatures(path, {Signature(kMakerKey, kUntrustedRoot)});
    EXPECT_FALSE(facade.IsFileTrusted(path.c_str(), &tables.main));
    EXPECT_TRUE(log->Contains(L"trusted by windows = false, trusted by Fusion = true"));

    device.SetSignatures(path, {Signature(kOtherKey)});
    EXPECT_FALSE(facade.IsFileTrusted(path.c_str(), &tables.main));

    // A trusted nested signature by a listed key counts, whatever the primary is.
    device.SetSignatures(path, {Signature(kOtherKey, kUntrustedRoot), Signature(kMakerKey)});
    EXPECT_TRUE(facade.IsFileTrusted(path.c_str(), &tables.main));

    // The whole key must match: a listed key that is only a prefix of the signer's is not it.
    std::vector<uint8_t> longer = kMakerKey;
    longer.push_back(0x01);
    device.SetSignatures(path, {Signature(longer)});
    EXPECT_FALSE(facade.IsFileTrusted(path.c_str(), &tables.main));

    const TrustTables empty;
    device.SetSignatures(path, {Signature(kMakerKey)});
    EXPECT_FALSE(facade.IsFileTrusted(path.c_str(), &empty.main));
    EXPECT_FALSE(facade.IsFileTrusted(nullptr, &tables.main));
    EXPECT_FALSE(facade.IsFileTrusted(path.c_str(), nullptr));
    EXPECT_FALSE(facade.IsFileTrusted(L"C:\\Program Files\\QV\\unsigned.exe", &tables.main));
}

TEST_F(AuthenticodeTest, TrustedFilesMustLieInProtectedFolders) {
    for (const wchar_t* path : {L"C:\\Windows\\System32\\qv.dll", L"C:\\Program Files\\QV\\qv.dll",
                                L"C:\\Program Files (x86)\\QV\\qv.dll", L"c:\\windows\\qv.dll"}) {
        device.SetSignatures(path, {Signature(kMakerKey)});
        EXPECT_TRUE(facade.IsTrustedSignedFile(path)) << path;
        EXPECT_TRUE(facade.IsQvSignedFile(path)) << path;
        EXPECT_TRUE(facade.IsWindowsTrustedFile(path)) << path;
    }
    for (const wchar_t* path : {L"C:\\Users\\Avery\\Downloads\\qv.dll", L"C:\\Windows\\..\\Users\\x\\evil.dll",
                                L"%windir%\\..\\Users\\x\\evil.dll", L"C:\\Program Files Evil\\qv.dll", L"D:\\Windows\\qv.dll"}) {
        device.SetSignatures(path, {Signature(kMakerKey)});
        EXPECT_FALSE(facade.IsTrustedSignedFile(path)) << path;
        EXPECT_FALSE(facade.IsQvSignedFile(path)) << path;
        EXPECT_FALSE(facade.IsWindowsTrustedFile(path)) << path;
    }
    EXPECT_TRUE(log->Contains(L"Qv::Bridge::Security::QVAuthenticodeHelper::IsPathAllowed - BeginsWith() failed "
                              L"[C:\\Users\\x\\evil.dll] [C:\\Windows\\]"));
    EXPECT_TRUE(log->Contains(L"Didn't find substring [:\\WindowsApps\\] in [C:\\Users\\x\\evil.dll]"));
    EXPECT_FALSE(facade.IsPathAllowed(nullptr));
    EXPECT_FALSE(facade.IsTrustedSignedFile(nullptr));
}

TEST_F(AuthenticodeTest, WindowsAppsNeedsTrustedInstallerAndSystemWithFullControl) {
    const wchar_t* path = L"C:\\Program Files\\WindowsApps\\Pkg_1.0\\app.exe";
    // "C:\Program Files\" already allows it; use another drive to reach the WindowsApps rule.
    const wchar_t* other = L"D:\\WindowsApps\\Pkg_1.0\\app.exe";
    platform::FolderAccess full{true,
                                {{0, 0x10000000, L"NT SERVICE", L"TrustedInstaller"},
                                 {0, 0x10000000, L"NT AUTHORITY", L"SYSTEM"}}};
    device.SetFolderAccess(L"D:\\WindowsApps", full);
    EXPECT_TRUE(facade.IsPathAllowed(other));
    EXPECT_TRUE(device.Sleeps().empty());
    EXPECT_TRUE(facade.IsPathAllowed(path));

    for (auto entries : std::vector<std::vector<platform::AccessEntry>>{
             {{0, 0x10000000, L"NT SERVICE", L"TrustedInstaller"}},                                     // no SYSTEM
             {{0, 0x1F01FF, L"NT SERVICE", L"TrustedInstaller"}, {0, 0x10000000, L"NT AUTHORITY", L"SYSTEM"}},  // not GENERIC_ALL
             {{1, 0x10000000, L"NT SERVICE", L"TrustedInstaller"}, {0, 0x10000000, L"NT AUTHORITY", L"SYSTEM"}},  // denied ACE
             {{0, 0x10000000, L"NT SERVICE", L"trustedinstaller"}, {0, 0x10000000, L"NT AUTHORITY", L"SYSTEM"}}}) {
        device.SetFolderAccess(L"D:\\WindowsApps", platform::FolderAccess{true, entries});
        EXPECT_FALSE(facade.IsPathAllowed(other));
    }
    // Each refusal is tried five times with four waits of 250 ms.
    EXPECT_EQ(device.Sleeps().size(), 16u);
    EXPECT_EQ(device.Sleeps().front(), 250u);
    EXPECT_EQ(log->Count(LogLevel::Warning, L"Security - GetNamedSecurityInfo - Failed 5 of 5 times."), 4u);

    device.SetFolderAccess(L"D:\\WindowsApps", platform::Failure{5});
    EXPECT_FALSE(facade.IsPathAllowed(other));
    EXPECT_TRUE(log->Contains(L"Failed 1 of 5 times. Error Code = 5"));
}

TEST_F(AuthenticodeTest, SameSignerAndDropbox) {
    device.SetSignatures(L"C:\\a.exe", {Signature(kOtherKey), Signature(kMakerKey)});
    device.SetSignatures(L"C:\\b.exe", {Signature(kMakerKey)});
    device.SetSignatures(L"C:\\c.exe", {Signature(kOtherKey, kUntrustedRoot)});
    EXPECT_TRUE(facade.HaveSameSigner(L"C:\\a.exe", L"C:\\b.exe"));
    EXPECT_FALSE(facade.HaveSameSigner(L"C:\\b.exe", L"C:\\c.exe"));
    EXPECT_FALSE(facade.HaveSameSigner(L"C:\\b.exe", L"C:\\unsigned.exe"));
    EXPECT_FALSE(facade.HaveSameSigner(nullptr, L"C:\\b.exe"));

    const std::wstring dropbox = L"C:\\Program Files (x86)\\Dropbox\\Client\\Dropbox.exe";
    const std::wstring subject = L"CN=\"Dropbox, Inc\", O=\"Dropbox, Inc\", L=San Francisco, S=California, C=US";
    device.SetSignatures(dropbox, {Signature(kOtherKey, 0, subject)});
    EXPECT_TRUE(facade.IsDropboxFileTrusted(dropbox.c_str()));
    device.SetSignatures(dropbox, {Signature(kOtherKey, 0, L"CN=Dropbox, O=Dropbox Inc, L=San Francisco, S=California")});
    EXPECT_FALSE(facade.IsDropboxFileTrusted(dropbox.c_str()));
    device.SetSignatures(dropbox, {Signature(kOtherKey, kTrustNoSignature, subject)});
    EXPECT_FALSE(facade.IsDropboxFileTrusted(dropbox.c_str()));
    EXPECT_EQ(log->Count(LogLevel::Error, L"Dropbox file is not trusted by windows."), 1u);
}

class LaunchTest : public AuthenticodeTest {
protected:
    LaunchTest() {
        device.SetSignatures(L"C:\\Windows\\System32\\regsvr32.exe", {Signature(kOtherKey)});
        device.SetSignatures(L"C:\\Windows\\System32\\sfc.exe", {Signature(kOtherKey)});
        device.SetSignatures(L"C:\\Program Files\\QV\\plugin.dll", {Signature(kMakerKey)});
        device.SetSignatures(L"C:\\Program Files\\QV\\foreign.dll", {Signature(kOtherKey)});
        Caller(L"5E0C2A91.Fennel_k4m2x9trq7bw3");
    }
    void Caller(const std::wstring& family) {
        Sim::SimCaller caller;
        caller.inquireStatus = 0;
        caller.processId = 4242;
        caller.packageFamilyName = family;
        device.SetCaller(caller);
    }
    platform::UserToken token = reinterpret_cast<platform::UserToken>(0x44);
};

TEST_F(LaunchTest, RulesMatchProgramsIgnoringCaseAndCallersExactly) {
    EXPECT_TRUE(facade.IsLaunchAllowed(L"%windir%\\System32\\REGSVR32.EXE", 0, L"", token));
    EXPECT_TRUE(facade.IsLaunchAllowed(L"C:\\windows\\system32\\sfc.exe", 1, L"/scannow", token));
    EXPECT_FALSE(facade.IsLaunchAllowed(L"C:\\Windows\\System32\\cmd.exe", 0, L"", token));
    EXPECT_FALSE(facade.IsLaunchAllowed(nullptr, 0, L"", token));

    Caller(L"5e0c2a91.fennel_k4m2x9trq7bw3");
    EXPECT_FALSE(facade.IsLaunchAllowed(L"%windir%\\System32\\sfc.exe", 0, L"", token));
    Caller(L"");
    EXPECT_FALSE(facade.IsLaunchAllowed(L"%windir%\\System32\\sfc.exe", 0, L"", token));
    EXPECT_FALSE(device.Impersonating());

    Caller(L"5E0C2A91.Fennel_k4m2x9trq7bw3");
    device.SetSignatures(L"C:\\Windows\\System32\\sfc.exe", {Signature(kOtherKey, kTrustNoSignature)});
    EXPECT_FALSE(facade.IsLaunchAllowed(L"%windir%\\System32\\sfc.exe", 0, L"", token));
}

TEST_F(LaunchTest, LibraryArgumentsMustBeTrustedFiles) {
    const wchar_t* regsvr32 = L"%windir%\\System32\\regsvr32.exe";
    EXPECT_TRUE(facade.IsLaunchAllowed(regsvr32, 0, L"", token));
    EXPECT_TRUE(facade.IsLaunchAllowed(regsvr32, 0, L"\"C:\\Program Files\\QV\\plugin.dll\" /s", token));
    EXPECT_FALSE(facade.IsLaunchAllowed(regsvr32, 0, L"\"C:\\Program Files\\QV\\foreign.dll\"", token));
    EXPECT_FALSE(facade.IsLaunchAllowed(regsvr32, 0, L"C:\\Program Files\\QV\\plugin.dll", token));  // unquoted: "C:\Program"
    EXPECT_FALSE(facade.IsLaunchAllowed(L"%windir%\\System32\\rundll32.exe", 0, L"C:\\unsigned.dll,Entry", token));
}

TEST_F(LaunchTest, OptionAndCallerListFollowTheRule) {
    std::map<std::wstring, LaunchRule> rules;
    rules[L"%windir%\\System32\\sfc.exe"] = {{}, 0, nullptr};  // any caller, no launch option
    QVAuthenticodeFacade strict(device, tables, rules);
    Caller(L"");  // even an unpackaged caller: the rule names none
    EXPECT_TRUE(strict.IsLaunchAllowed(L"%windir%\\System32\\sfc.exe", 0, L"", token));
    EXPECT_FALSE(strict.IsLaunchAllowed(L"%windir%\\System32\\sfc.exe", 1, L"", token));
    EXPECT_FALSE(strict.IsLaunchAllowed(L"%windir%\\System32\\regsvr32.exe", 0, L"", token));  // no rule
    // Without a token the service's own environment expands the path.
    EXPECT_TRUE(strict.IsLaunchAllowed(L"%SystemRoot%\\System32\\sfc.exe", 0, L"", nullptr));
}

TEST(RpcSecurityHelperTest, CallerPackageOrAnEmptyNameAndNeverLeftImpersonating) {
    Bridge::Logging::ScopedLogCapture log;
    Sim::SimDevice device;
    RpcSecurityHelper helper(device);

    EXPECT_EQ(helper.GetPFNOfCaller(), L"");  // no RPC call on this thread
    EXPECT_TRUE(log->Contains(L"RpcSecurityHelper::GetPFNOfCaller - RpcServerInqCallAttributes failed, Status: 1725"));

    Sim::SimCaller caller;
    caller.inquireStatus = 0;
    caller.processId = 77;
    device.SetCaller(caller);  // an unpackaged executable
    EXPECT_EQ(helper.GetPFNOfCaller(), L"");
    EXPECT_TRUE(log->Contains(L"GetPackageFamilyName failed, Status: 15700"));
    EXPECT_FALSE(device.Impersonating());

    caller.packageFamilyName = L"5E0C2A91.LumenCenter_k4m2x9trq7bw3";
    device.SetCaller(caller);
    const std::wstring name = helper.GetPFNOfCaller();
    EXPECT_EQ(name, L"5E0C2A91.LumenCenter_k4m2x9trq7bw3");
    EXPECT_EQ(name.find(L'\0'), std::wstring::npos);
    EXPECT_FALSE(device.Impersonating());

    caller.impersonateStatus = 1722;
    device.SetCaller(caller);
    EXPECT_EQ(helper.GetPFNOfCaller(), L"");
    EXPECT_TRUE(log->Contains(L"Failed to impersonate client, Status: 1722"));

    caller.impersonateStatus = 0;
    caller.processAlive = false;  // the caller has already ended
    device.SetCaller(caller);
    EXPECT_EQ(helper.GetPFNOfCaller(), L"");
    EXPECT_TRUE(log->Contains(L"OpenProcess yielded null or invalid handle, Status: 5"));

    // A handle the host kept for the process lets the lookup go on.
    helper.ProcessHandles()[77] = device.MakeProcessHandle(77);
    EXPECT_EQ(helper.GetPFNOfCaller(), L"5E0C2A91.LumenCenter_k4m2x9trq7bw3");
    EXPECT_FALSE(device.Impersonating());
    helper.ProcessHandles().clear();
    EXPECT_EQ(device.OpenProcessHandles(), 0);
}

TEST(TextSplitting, CommandLinesAndDistinguishedNames) {
    using Core::SplitCommandLine;
    EXPECT_EQ(SplitCommandLine(L"test.exe "), std::vector<std::wstring>{L"test.exe"});
    EXPECT_EQ(SplitCommandLine(L"test.exe \"C:\\a b\\c.dll\" /s"),
              (std::vector<std::wstring>{L"test.exe", L"C:\\a b\\c.dll", L"/s"}));
    EXPECT_EQ(SplitCommandLine(L"\"C:\\my app\\x.exe\" a\\\\\\\"b c\\\\\"d e\""),
              (std::vector<std::wstring>{L"C:\\my app\\x.exe", L"a\\\"b", L"c\\d e"}));
    EXPECT_EQ(SplitCommandLine(L"x \"say \"\"hi\"\"\"\t\ty"), (std::vector<std::wstring>{L"x", L"say \"hi\"", L"y"}));

    const auto parts = SplitDistinguishedName(L"CN=\"Dropbox, Inc\", O=\"a \"\"q\"\" b\", L=  Lake ; C=US");
    EXPECT_EQ(parts.at(L"CN"), L"Dropbox, Inc");
    EXPECT_EQ(parts.at(L"O"), L"a \"q\" b");
    EXPECT_EQ(parts.at(L"L"), L"Lake");
    EXPECT_EQ(parts.at(L"C"), L"US");
    EXPECT_TRUE(SplitDistinguishedName(L"").empty());
}

}  // namespace
}  // namespace Qv::Tests
