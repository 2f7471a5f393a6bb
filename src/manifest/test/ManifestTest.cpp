// The manifest's patterns, rule evaluators, XML reader and signed manifest check, natively: expat
// and libcrypto read and verify, the simulated laptop holds the files and the signed-in user.
#include <fstream>
#include <sstream>

#include "manifest/ClientManifest.h"
#include "manifest/IDetachedSignatures.h"
#include "manifest/IXmlReader.h"
#include "manifest/ManifestRules.h"
#include "manifest/Pattern.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using Manifest::ClientManifest;
using Manifest::EvaluateRule;
using Manifest::IXmlReader;
using Manifest::Pattern;
using Manifest::XmlNode;

std::string TestFile(const std::string& name) {
    std::ifstream file(std::string(QV_MANIFEST_TEST_DIR) + "/" + name, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool Finds(const wchar_t* pattern, const wchar_t* text) { return Pattern::Compile(pattern)->Finds(text); }

XmlNode Rule(std::vector<std::pair<std::wstring, std::wstring>> children) {
    XmlNode rule{L"Argument", {}, L"", {}};
    for (auto& [name, text] : children) rule.children.push_back(XmlNode{name, {}, text, {}});
    return rule;
}

XmlNode Items(std::initializer_list<const wchar_t*> items) {
    std::vector<std::pair<std::wstring, std::wstring>> children;
    for (const wchar_t* item : items) children.emplace_back(L"Item", item);
    return Rule(children);
}

TEST(PatternTest, TheManifestsTwoPatterns) {
    const wchar_t* absolute = LR"(^((?:[\w]\:|\\)|(http[s]?\:)|(\%[\(|\w|\)]+\%))+)";
    for (const wchar_t* value : {L"C:\\Fennel", L"d:", L"\\\\server\\share", L"\\Fennel", L"http://x", L"https:",
                                 L"%ProgramFiles%\\Fennel", L"%ProgramFiles(x86)%\\Fennel"})
        EXPECT_TRUE(Finds(absolute, value)) << std::string(value, value + wcslen(value));
    for (const wchar_t* value : {L"Fennel\\x.exe", L"ftp://x", L"httpx:", L"%%", L"", L" C:\\", L"::"})
        EXPECT_FALSE(Finds(absolute, value)) << std::string(value, value + wcslen(value));

    const wchar_t* parent = LR"(((\/+)?\.\.(\/+)?))";
    for (const wchar_t* value : {L"..", L"a/../b", L"a\\..\\b", L"//..//", L"x.."}) EXPECT_TRUE(Finds(parent, value));
    for (const wchar_t* value : {L"a.b", L"./x", L"", L". ."}) EXPECT_FALSE(Finds(parent, value));
}

TEST(PatternTest, WholeMatchesAnchorsClassesAndCounts) {
    const auto name = Pattern::Compile(L"[A-Za-z][A-Za-z0-9 ]{0,3}");
    ASSERT_TRUE(name);
    EXPECT_TRUE(name->Matches(L"a"));
    EXPECT_TRUE(name->Matches(L"ab 1"));
    EXPECT_FALSE(name->Matches(L"ab 12")) << "five characters: one more than the count";
    EXPECT_FALSE(name->Matches(L"1ab"));
    EXPECT_FALSE(name->Matches(L""));
    EXPECT_TRUE(name->Finds(L"--ab--"));
    EXPECT_TRUE(Pattern::Compile(L"x$")->Finds(L"abx"));
    EXPECT_FALSE(Pattern::Compile(L"x$")->Finds(L"xab"));
    EXPECT_TRUE(Pattern::Compile(L"[^\\d]+")->Matches(L"abc"));
    EXPECT_FALSE(Pattern::Compile(L"[^\\d]+")->Matches(L"a1"));
    EXPECT_TRUE(Pattern::Compile(L"a|bc|")->Matches(L""));
    EXPECT_TRUE(Pattern::Compile(L"(?:ab)+c?")->Matches(L"ababc"));
    EXPECT_TRUE(Pattern::Compile(L"a{2,}")->Matches(L"aaaa"));
    EXPECT_FALSE(Pattern::Compile(L"a{2,}")->Matches(L"a"));
    // Patterns that make a backtracking matcher take exponential time answer at once.
    const std::wstring many(4096, L'a');
    EXPECT_FALSE(Pattern::Compile(L"(a*)*b")->Matches(many));
    EXPECT_FALSE(Pattern::Compile(L"(a|aa)+$b")->Finds(many));
    EXPECT_TRUE(Pattern::Compile(L"(a|a)*")->Matches(many));
}

TEST(PatternTest, MalformedAndOversizedPatternsAreRefused) {
    for (const wchar_t* pattern : {L"(", L"a)", L"[a", L"[]", L"[z-a]", L"a{2,1}", L"a{", L"*a", L"\\b", L"(?=a)",
                                   L"a\\", L"a{101}", L"(((a{100}){100}))", L"^*"}) {
        std::wstring why;
        EXPECT_FALSE(Pattern::Compile(pattern, &why)) << std::string(pattern, pattern + wcslen(pattern));
        EXPECT_FALSE(why.empty());
    }
    EXPECT_FALSE(Pattern::Compile(std::wstring(1025, L'a')));
    EXPECT_TRUE(Pattern::Compile(std::wstring(1024, L'a')));
    EXPECT_TRUE(Pattern::Compile(L"a{100}"));
}

class RulesTest : public ServiceFixture {};

TEST_F(RulesTest, RegexMatchesTheWholeValue) {
    const XmlNode rule = Rule({{L"Pattern", L"[a-z]+\\.exe"}});
    EXPECT_TRUE(EvaluateRule(L"regex", rule, L"fennel.exe"));
    EXPECT_FALSE(EvaluateRule(L"regex", rule, L"fennel.exe.bat"));
    EXPECT_FALSE(EvaluateRule(L"regex", rule, L""));
    EXPECT_FALSE(EvaluateRule(L"regex", rule, std::wstring(4093, L'a') + L".exe")) << "4097 characters";
    EXPECT_TRUE(EvaluateRule(L"regex", rule, std::wstring(4092, L'a') + L".exe")) << "4096 characters";
    EXPECT_FALSE(EvaluateRule(L"regex", Rule({{L"Pattern", L"(a"}}), L"a"));
    EXPECT_TRUE(log->Contains(L"ManifestRules - regex refused the value: a malformed pattern: an unclosed group"));
    EXPECT_FALSE(EvaluateRule(L"regex", Rule({}), L"a"));
    EXPECT_FALSE(EvaluateRule(L"regex", Rule({{L"Pattern", L"a"}, {L"Pattern", L"a"}}), L"a"));
    EXPECT_TRUE(log->Contains(L"ManifestRules - regex refused the value: the rule has no single <Pattern>"));
}

TEST_F(RulesTest, ListsCompareExactlyOrByFoldedBeginning) {
    const XmlNode apps = Items({L"Notes", L"Paint"});
    EXPECT_TRUE(EvaluateRule(L"contained_in_list", apps, L"Paint"));
    EXPECT_FALSE(EvaluateRule(L"contained_in_list", apps, L"paint"));
    EXPECT_FALSE(EvaluateRule(L"contained_in_list", apps, L"Paint "));
    EXPECT_FALSE(EvaluateRule(L"contained_in_list", apps, L""));
    EXPECT_FALSE(EvaluateRule(L"contained_in_list", Items({}), L"Paint"));

    const XmlNode folders = Items({L"C:\\Program Files\\Fennel\\", L""});
    EXPECT_TRUE(EvaluateRule(L"begins_with_from_list", folders, L"c:/program files/FENNEL/x.exe"));
    EXPECT_TRUE(EvaluateRule(L"begins_with_from_list", folders, L"C:\\Program Files\\Fennel\\"));
    EXPECT_FALSE(EvaluateRule(L"begins_with_from_list", folders, L"C:\\Program Files\\FennelEvil\\x.exe"));
    EXPECT_FALSE(EvaluateRule(L"begins_with_from_list", folders, L"C:\\Program Files\\Fennel"));
    EXPECT_FALSE(EvaluateRule(L"begins_with_from_list", folders, L"")) << "an empty item begins nothing";
    EXPECT_FALSE(EvaluateRule(L"begins_with_from_list", Items({}), L"C:\\"));
}

TEST_F(RulesTest, LocationsAreExpandedForTheUserAndMustBeAbsoluteWithoutParentSteps) {
    const wchar_t* kRule = L"begins_with_from_list_with_env_vars";
    device.SetUserEnvironment(L"LOCALAPPDATA", L"C:\\Users\\Avery\\AppData\\Local");
    const XmlNode places = Items({L"%ProgramFiles%\\Fennel\\", L"https://fennel.example.com/", L"Fennel\\"});
    EXPECT_TRUE(EvaluateRule(kRule, places, L"C:\\Program Files\\Fennel\\app.exe"));
    EXPECT_TRUE(EvaluateRule(kRule, places, L"%PROGRAMFILES%\\fennel\\app.exe"));
    EXPECT_TRUE(EvaluateRule(kRule, places, L"https://fennel.example.com/help"));
    EXPECT_FALSE(EvaluateRule(kRule, places, L"http://fennel.example.com/help"));
    // A variable of the user's that points into the user's own folders is not the program folder.
    EXPECT_FALSE(EvaluateRule(kRule, places, L"%LOCALAPPDATA%\\Fennel\\app.exe"));
    for (const wchar_t* value :
         {L"C:\\Program Files\\Fennel\\..\\..\\Users\\Avery\\x.exe", L"C:\\Program Files\\Fennel/../x.exe",
          L"Fennel\\app.exe", L"\\\\server\\share\\Fennel\\app.exe", L"D:\\Program Files\\Fennel\\app.exe", L""})
        EXPECT_FALSE(EvaluateRule(kRule, places, value)) << std::string(value, value + wcslen(value));
    EXPECT_TRUE(log->Contains(L"refused the value: a \"..\" step:"));
    EXPECT_TRUE(log->Contains(L"refused the value: not an absolute location: Fennel\\app.exe"));
    // A variable the user set to climb out of the folder is caught once it is expanded.
    device.SetUserEnvironment(L"CLIMB", L"C:\\Program Files\\Fennel\\..\\..\\Users\\Avery");
    EXPECT_FALSE(EvaluateRule(kRule, places, L"%CLIMB%\\x.exe"));
    EXPECT_TRUE(log->Contains(L"expanded for the user it is no plain absolute location"));
    // Only an item that expands to an absolute location counts: "Fennel\" names nothing.
    EXPECT_FALSE(EvaluateRule(kRule, Items({L"Fennel\\"}), L"C:\\Fennel\\x.exe"));
}

TEST_F(RulesTest, NumbersAreWholeWithinBothBoundsOf64Bits) {
    const XmlNode range = Rule({{L"Min", L"1"}, {L"Max", L"20"}});
    for (const wchar_t* value : {L"1", L"20", L"007", L"+5", L"020"})
        EXPECT_TRUE(EvaluateRule(L"numeric_range", range, value)) << std::string(value, value + wcslen(value));
    for (const wchar_t* value : {L"0", L"21", L"-1", L"", L" 5", L"5 ", L"5.0", L"0x5", L"+", L"-", L"1e1", L"++5"})
        EXPECT_FALSE(EvaluateRule(L"numeric_range", range, value)) << std::string(value, value + wcslen(value));

    const XmlNode wide = Rule({{L"Min", L"-9223372036854775808"}, {L"Max", L"9223372036854775807"}});
    EXPECT_TRUE(EvaluateRule(L"numeric_range", wide, L"9223372036854775807"));
    EXPECT_TRUE(EvaluateRule(L"numeric_range", wide, L"-9223372036854775808"));
    EXPECT_TRUE(EvaluateRule(L"numeric_range", wide, L"-0"));
    EXPECT_FALSE(EvaluateRule(L"numeric_range", wide, L"9223372036854775808"));
    EXPECT_FALSE(EvaluateRule(L"numeric_range", wide, L"-9223372036854775809"));
    EXPECT_FALSE(EvaluateRule(L"numeric_range", wide, L"18446744073709551616"));

    EXPECT_FALSE(EvaluateRule(L"numeric_range", Rule({{L"Min", L"1"}}), L"1"));
    EXPECT_TRUE(log->Contains(L"numeric_range refused the value: the rule needs one <Min> and one <Max>"));
    EXPECT_FALSE(EvaluateRule(L"numeric_range", Rule({{L"Min", L"one"}, {L"Max", L"2"}}), L"1"));
    EXPECT_TRUE(log->Contains(L"numeric_range refused the value: a bound that is not a whole number"));
}

TEST_F(RulesTest, NoneAcceptsAnythingAndAnUnknownTypeNothing) {
    EXPECT_TRUE(EvaluateRule(L"none", Rule({}), L""));
    EXPECT_TRUE(EvaluateRule(L"none", Rule({}), L"anything at all"));
    EXPECT_FALSE(EvaluateRule(L"None", Rule({}), L"x"));
    EXPECT_FALSE(EvaluateRule(L"", Rule({}), L"x"));
    EXPECT_TRUE(log->Contains(L"ManifestRules - no evaluator for the rule type \"None\""));
    ASSERT_EQ(Manifest::RuleTypes().size(), 6u);
    EXPECT_EQ(Manifest::RuleTypes()[3].name, L"begins_with_from_list_with_env_vars");
}

TEST_F(RulesTest, TheXmlReaderRefusesDocumentTypesDepthAndSize) {
    IXmlReader& reader = device.AreaPort<IXmlReader>();
    auto read = reader.Parse("\xEF\xBB\xBF<a x=\"1\" y='&amp;'>  <b>t&lt;1</b> tail <![CDATA[<c>]]>\n<c/></a>", {});
    ASSERT_TRUE(read) << read.Status();
    EXPECT_EQ(read->name, L"a");
    EXPECT_EQ(*read->Attribute(L"y"), L"&");
    EXPECT_EQ(read->text, L"tail <c>");
    ASSERT_EQ(read->children.size(), 2u);
    EXPECT_EQ(read->children[0].text, L"t<1");

    const std::string laughs = "<!DOCTYPE a [<!ENTITY l \"lol\"><!ENTITY l2 \"&l;&l;&l;&l;\">]><a>&l2;</a>";
    EXPECT_EQ(reader.Parse(laughs, {}).Status(), static_cast<int32_t>(0xC00CEE4F));  // a document type, refused
    EXPECT_EQ(reader.Parse("<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>", {}).Status(), static_cast<int32_t>(0xC00CEE4F));
    std::string deep;
    for (int i = 0; i < 32; ++i) deep += "<a>";
    for (int i = 0; i < 32; ++i) deep += "</a>";
    EXPECT_TRUE(reader.Parse(deep, {}));
    EXPECT_EQ(reader.Parse("<a>" + deep + "</a>", {}).Status(), static_cast<int32_t>(0x8007006F));
    EXPECT_EQ(reader.Parse(std::string(256 * 1024 + 1, ' '), {}).Status(), 223);  // ERROR_FILE_TOO_LARGE
    for (const char* malformed : {"<a>", "<a></b>", "<a/><b/>", "", "<a>&undeclared;</a>", "<a>&#0;</a>"})
        EXPECT_FALSE(reader.Parse(malformed, {})) << malformed;
}

// The example manifest, as the test build signed it, put in a folder of the simulated laptop.
class ManifestTest : public ServiceFixture {
protected:
    void Place(const std::wstring& folder, const std::string& xml, const std::string& signature) {
        device.WithWorld([&](Sim::SimWorld& world) {
            const auto put = [&](const std::wstring& path, const std::string& bytes) {
                world.files.insert(Sim::Lower(path));
                world.contents[Sim::Lower(path)] = std::make_shared<std::string>(bytes);
            };
            put(folder + L"\\QVManifest.xml", xml);
            if (!signature.empty()) put(folder + L"\\QVManifest.p7s", signature);
        });
    }
    std::shared_ptr<const ClientManifest> Load(const std::wstring& client) {
        problem.clear();
        return ClientManifest::Load(device, client, problem);
    }

    const std::wstring kFolder = L"C:\\Program Files\\Fennel";
    const std::string xml = TestFile("QVManifest.xml");
    std::wstring problem;
};

TEST_F(ManifestTest, ASignedManifestAllowsWhatItsRulesAllow) {
    Place(kFolder, xml, TestFile("signing.p7s"));
    const auto manifest = Load(kFolder + L"\\Fennel.exe");
    ASSERT_TRUE(manifest) << std::string(problem.begin(), problem.end());
    EXPECT_EQ(manifest->SignedThrough(), L"QVManifest.p7s");
    const auto verdict = [&](uint32_t command, const wchar_t* arguments) {
        const auto answer = manifest->Allows(command, arguments);
        return std::make_pair(answer.allowed, answer.decidedBy);
    };
    EXPECT_EQ(verdict(92, L"{\"IValue\":20}"), std::make_pair(true, std::wstring(L"command 92: IValue by numeric_range")));
    EXPECT_EQ(verdict(92, L"{\"IValue\":21}"),
              std::make_pair(false, std::wstring(L"command 92: IValue refused by numeric_range")));
    EXPECT_EQ(verdict(91, L"{}"), std::make_pair(true, std::wstring(L"command 91: no arguments")));
    EXPECT_EQ(verdict(91, L""), std::make_pair(true, std::wstring(L"command 91: no arguments")));
    EXPECT_EQ(verdict(93, L"{\"IValue\":1}"), std::make_pair(false, std::wstring(L"command 93 is not in the manifest")));
    EXPECT_EQ(verdict(92, L"{}"), std::make_pair(false, std::wstring(L"command 92: the argument IValue is missing")));
    EXPECT_EQ(verdict(92, L"{\"IValue\":5,\"Extra\":1}"),
              std::make_pair(false, std::wstring(L"command 92: the argument Extra is not in the manifest")));
    EXPECT_EQ(verdict(92, L"{\"IValue\":[5]}"),
              std::make_pair(false, std::wstring(L"command 92: the argument IValue is not a single value")));
    EXPECT_EQ(verdict(92, L"[5]"), std::make_pair(false, std::wstring(L"command 92: the arguments are not a JSON object")));
    EXPECT_TRUE(manifest->Allows(21, L"{\"SValue\":\"Notes\"}").allowed);
    EXPECT_FALSE(manifest->Allows(21, L"{\"SValue\":\"notepad\"}").allowed);
    EXPECT_TRUE(manifest->Allows(122, L"{\"BValue\":false}").allowed);
    EXPECT_TRUE(manifest->Allows(23, L"{\"SValue\":\"anything\"}").allowed);
    EXPECT_TRUE(manifest->Allows(901, L"{\"SValue\":\"%ProgramFiles%\\\\Fennel\\\\help.html\"}").allowed);

    // The same manifest signed without signed attributes; and found from the folder or the file.
    Place(kFolder, xml, TestFile("signing-noattr.p7s"));
    EXPECT_TRUE(Load(kFolder));
    EXPECT_TRUE(Load(kFolder + L"\\QVManifest.xml"));
}

TEST_F(ManifestTest, OnlyTheMainTablesKeysSignManifests) {
    Place(kFolder, xml, TestFile("other.p7s"));
    EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe"));
    EXPECT_EQ(problem, L"QVManifest.p7s is by a key that is not trusted for manifests");
    // Trusted for the maker's programs, but not for manifests.
    Place(kFolder, xml, TestFile("extended.p7s"));
    EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe"));
    EXPECT_EQ(problem, L"QVManifest.p7s is by a key that is not trusted for manifests");
}

TEST_F(ManifestTest, AManifestChangedAfterSigningIsRefused) {
    for (const char* signature : {"signing.p7s", "signing-noattr.p7s"}) {
        std::string changed = xml;
        changed[changed.find("<Max>20</Max>") + 6] = '9';  // the mouse speed's bound 20 becomes 90
        Place(kFolder, changed, TestFile(signature));
        EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe")) << signature;
        EXPECT_EQ(problem.rfind(L"QVManifest.p7s is not a valid signature of it", 0), 0u) << signature;
    }
    Place(kFolder, xml, "not a signature");
    EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe"));
}

TEST_F(ManifestTest, WithoutASignatureOnlyASystemCatalogUnderATrustedKeyVouches) {
    Place(kFolder, xml, "");
    EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe"));
    EXPECT_EQ(problem, L"no QVManifest.p7s, and no catalog of the system lists it under a trusted key");
    device.SetCatalogSignatures(kFolder + L"\\QVManifest.xml", {{TrustedTestKey(), 0, L"CN=Test", L"CN=Root"}});
    const auto manifest = Load(kFolder + L"\\Fennel.exe");
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->SignedThrough(), L"a catalog of the system");
    device.SetCatalogSignatures(kFolder + L"\\QVManifest.xml",
                                {{TrustedTestKey(), static_cast<int32_t>(0x800B0100), L"CN=Test", L"CN=Root"}});
    EXPECT_FALSE(Load(kFolder + L"\\Fennel.exe")) << "a catalog the system does not trust";
}

TEST_F(ManifestTest, AManifestTheUserCouldHaveWrittenIsRefusedHoweverSigned) {
    for (const std::wstring folder : {L"C:\\Users\\Public\\Fennel", L"C:\\ProgramData\\Fennel"}) {
        Place(folder, xml, TestFile("signing.p7s"));
        EXPECT_FALSE(Load(folder + L"\\Fennel.exe"));
        EXPECT_EQ(problem.rfind(L"QVManifest.xml is in a folder its user can write", 0), 0u);
    }
    EXPECT_FALSE(Load(L"C:\\Program Files\\..\\Users\\Public\\Fennel\\Fennel.exe"));
    EXPECT_EQ(problem, L"QVManifest.xml is in a folder its user can write: C:\\Users\\Public\\Fennel\\QVManifest.xml");
    EXPECT_FALSE(Load(L"Fennel.exe"));
}

TEST_F(ManifestTest, ASignedDocumentThatIsNoManifestIsRefused) {
    Place(kFolder, xml, TestFile("signing.p7s"));
    EXPECT_TRUE(Load(kFolder));
    device.WithWorld([&](Sim::SimWorld& world) {
        world.contents[Sim::Lower(kFolder + L"\\QVManifest.xml")] = std::make_shared<std::string>(std::string(300000, ' '));
    });
    EXPECT_FALSE(Load(kFolder));
    EXPECT_EQ(problem, L"QVManifest.xml cannot be read (0x000000df)");
}

}  // namespace
}  // namespace Qv::Tests
