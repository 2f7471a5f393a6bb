// The manifest's readers on Windows under Wine: XmlLite with document types prohibited and the
// limits kept, and crypt32 checking the test build's signed manifests, the signed digest included
// (Wine's crypt32 checks only the signature over the signed attributes).
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "manifest/IDetachedSignatures.h"
#include "manifest/IXmlReader.h"
#include "platform/platform.h"
#include "security/Authenticode.h"

namespace Qv::WindowsTests {
namespace {

using Manifest::IDetachedSignatures;
using Manifest::IXmlReader;

std::string SignedFile(const char* name) {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    folder = folder.substr(0, folder.find_last_of(L'\\') + 1) + L"..\\manifest-test\\";
    std::ifstream file((folder + std::wstring(name, name + strlen(name))).c_str(), std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

TEST(ManifestReadersTest, XmlLiteReadsTheTreeAndRefusesDocumentTypesAndDepth) {
    IXmlReader& reader = platform::Current().AreaPort<IXmlReader>();
    auto read = reader.Parse("\xEF\xBB\xBF<a x=\"1\" y='&amp;'>  <b>t&lt;1</b> tail <![CDATA[<c>]]>\n<c/></a>", {});
    ASSERT_TRUE(read) << std::hex << read.Status();
    EXPECT_EQ(read->name, L"a");
    EXPECT_EQ(*read->Attribute(L"y"), L"&");
    EXPECT_EQ(read->text, L"tail <c>");
    ASSERT_EQ(read->children.size(), 2u);
    EXPECT_EQ(read->children[0].text, L"t<1");

    EXPECT_FALSE(reader.Parse("<!DOCTYPE a [<!ENTITY l \"lol\">]><a>&l;</a>", {}));
    EXPECT_FALSE(reader.Parse("<!DOCTYPE a SYSTEM \"file:///c:/windows/win.ini\"><a/>", {}));
    std::string deep;
    for (int i = 0; i < 32; ++i) deep += "<a>";
    for (int i = 0; i < 32; ++i) deep += "</a>";
    EXPECT_TRUE(reader.Parse(deep, {}));
    EXPECT_EQ(reader.Parse("<a>" + deep + "</a>", {}).Status(), static_cast<int32_t>(0x8007006F));
    EXPECT_EQ(reader.Parse(std::string(256 * 1024 + 1, ' '), {}).Status(), 223);
    for (const char* malformed : {"<a>", "<a></b>", "<a/><b/>", ""}) EXPECT_FALSE(reader.Parse(malformed, {})) << malformed;
}

TEST(ManifestReadersTest, Crypt32GivesTheSignersKeyOnlyForTheUnchangedContent) {
    IDetachedSignatures& signatures = platform::Current().AreaPort<IDetachedSignatures>();
    const std::string xml = SignedFile("QVManifest.xml");
    ASSERT_FALSE(xml.empty());
    std::string changed = xml;
    changed[changed.find("<Max>20</Max>") + 6] = '9';
    for (const char* name : {"signing.p7s", "signing-noattr.p7s"}) {
        const std::string signature = SignedFile(name);
        auto key = signatures.SignerKey(xml, signature);
        ASSERT_TRUE(key) << name << ": " << std::hex << key.Status();
        EXPECT_EQ(Bridge::Security::FormatPublicKey(*key), Bridge::Security::TrustTables::Builtin().main.back().publicKey)
            << name;
        EXPECT_FALSE(signatures.SignerKey(changed, signature)) << name << ": a changed manifest";
    }
    // Another key signs validly; whom to trust is the caller's.
    auto other = signatures.SignerKey(xml, SignedFile("other.p7s"));
    ASSERT_TRUE(other);
    EXPECT_NE(Bridge::Security::FormatPublicKey(*other), Bridge::Security::TrustTables::Builtin().main.back().publicKey);
    EXPECT_FALSE(signatures.SignerKey(xml, "not a signature"));
    EXPECT_FALSE(signatures.SignerKey(xml, ""));
}

}  // namespace
}  // namespace Qv::WindowsTests
