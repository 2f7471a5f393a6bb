// Code-signature checks on the Windows ports, on files signed by osslsigncode with the test build's keys.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "core/logging.h"
#include "security/Authenticode.h"
#include "security/ExemptionRules.h"
#include "security/RpcSecurityHelper.h"

namespace Qv::WindowsTests {
namespace {

using namespace Bridge::Security;

std::wstring ExeFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L'\\') + 1);
}

std::string ReadText(const std::wstring& path) {
    std::ifstream file(path.c_str(), std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    std::string s = text.str();
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) s.pop_back();
    return s;
}

// The probes, copied into a protected folder and into a user's folder.
class TrustTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        for (const std::wstring& folder : {kProtected, kUser}) {
            CreateDirectoryW(folder.c_str(), nullptr);
            for (const wchar_t* name : {L"probe-signed.exe", L"probe-signed-twin.exe", L"probe-other.exe",
                                        L"probe-unsigned.exe"}) {
                ASSERT_TRUE(CopyFileW((ExeFolder() + L"trust-test\\" + name).c_str(), (folder + name).c_str(), FALSE))
                    << GetLastError();
            }
        }
    }

    static std::wstring Protected(const wchar_t* name) { return kProtected + name; }
    static std::wstring User(const wchar_t* name) { return kUser + name; }

    static inline const std::wstring kProtected = L"C:\\Program Files\\DeviceControlTests\\";
    static inline const std::wstring kUser = L"C:\\users\\Public\\DeviceControlTests\\";
    QVAuthenticodeFacade facade;
};

TEST_F(TrustTest, SignerKeyIsTheOneOpensslPrintsForTheSigningKey) {
    const std::string expected = ReadText(ExeFolder() + L"trust-test\\signing.hex");
    ASSERT_EQ(expected.size(), 809u);  // RSA-2048 as the tables write it
    const SignerList signers = facade.GetSigners(Protected(L"probe-signed.exe"));
    ASSERT_EQ(signers.size(), 1u);
    EXPECT_EQ(signers[0].publicKey, expected);
    EXPECT_EQ(signers[0].commonName, L"DeviceControl Test Signing");
    EXPECT_EQ(signers[0].organization, L"DeviceControl Test");
    EXPECT_EQ(signers[0].state, L"California");
    EXPECT_EQ(signers[0].issuer, L"DeviceControl Test Root");
    EXPECT_TRUE(IsTrustedBySystem(signers));

    // The same key is in the test build's tables, and only there.
    const auto& main = TrustTables::Builtin().main;
    EXPECT_TRUE(std::any_of(main.begin(), main.end(), [&](const SignerInfo& s) { return s.publicKey == expected; }));
}

TEST_F(TrustTest, UnsignedAndForeignSignedFilesAreNotTrusted) {
    EXPECT_FALSE(IsTrustedBySystem(facade.GetSigners(Protected(L"probe-unsigned.exe"))));
    EXPECT_FALSE(facade.IsFileTrusted(Protected(L"probe-unsigned.exe").c_str(), &TrustTables::Builtin().main));
    EXPECT_FALSE(facade.IsFileTrusted(Protected(L"probe-other.exe").c_str(), &TrustTables::Builtin().main));
    EXPECT_FALSE(facade.IsQvSignedFile(Protected(L"probe-other.exe").c_str()));
    EXPECT_TRUE(facade.IsFileTrusted(Protected(L"probe-signed.exe").c_str(), &TrustTables::Builtin().main));
    EXPECT_TRUE(facade.IsQvSignedFile(Protected(L"probe-signed.exe").c_str()));
    EXPECT_TRUE(facade.IsTrustedSignedFile(Protected(L"probe-signed.exe").c_str()));
}

TEST_F(TrustTest, OnlyProtectedFoldersAreAllowed) {
    EXPECT_TRUE(facade.IsPathAllowed(Protected(L"probe-signed.exe").c_str()));
    EXPECT_TRUE(facade.IsPathAllowed(L"%windir%\\system32\\kernel32.dll"));
    EXPECT_FALSE(facade.IsPathAllowed(User(L"probe-signed.exe").c_str()));
    EXPECT_FALSE(facade.IsPathAllowed(L"C:\\windows\\..\\users\\Public\\DeviceControlTests\\probe-signed.exe"));
    EXPECT_FALSE(facade.IsPathAllowed(L"%PROGRAMFILES%\\..\\users\\Public\\DeviceControlTests\\probe-signed.exe"));
    // A listed key does not make up for the folder.
    EXPECT_FALSE(facade.IsQvSignedFile(User(L"probe-signed.exe").c_str()));
    EXPECT_FALSE(facade.IsTrustedSignedFile(User(L"probe-signed.exe").c_str()));
}

TEST_F(TrustTest, SameSignerAcrossFiles) {
    EXPECT_TRUE(facade.HaveSameSigner(Protected(L"probe-signed.exe").c_str(), User(L"probe-signed-twin.exe").c_str()));
    EXPECT_FALSE(facade.HaveSameSigner(Protected(L"probe-signed.exe").c_str(), Protected(L"probe-other.exe").c_str()));
    EXPECT_FALSE(facade.HaveSameSigner(Protected(L"probe-signed.exe").c_str(), Protected(L"probe-unsigned.exe").c_str()));
}

TEST_F(TrustTest, CallerIdentificationOutsideAnRpcCall) {
    // Under Wine there is no RPC call information: an empty name, not an aborted process.
    Bridge::Logging::ScopedLogCapture log;
    EXPECT_EQ(RpcSecurityHelper().GetPFNOfCaller(), L"");
    EXPECT_TRUE(log->Contains(L"RpcServerInqCallAttributes failed, Status: 1725"));
}

}  // namespace
}  // namespace Qv::WindowsTests
