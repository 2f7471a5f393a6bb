// The applications area's quoting rule, its taskkill name rule, and the tool's answers.
#include <gtest/gtest.h>

#include <vector>

#include "areas/applications/ApplicationProtocol.h"

namespace Qv::Tests {
namespace {

namespace Words = Tool::Application;

TEST(ApplicationProtocolTest, QuotingKeepsATextInsideItsQuotes) {
    const std::vector<std::pair<std::wstring, std::wstring>> cases{
        {L"Notes", L"Notes"},                      // nothing to quote: the command is as before
        {L"C:\\Program Files\\Notes", L"C:\\Program Files\\Notes"},  // backslashes alone stay
        {L"O'Brien", L"O''Brien"},
        {L"''", L"''''"},
        {L"\u2018a\u2019b\u201Ac\u201Bd", L"\u2018\u2018a\u2019\u2019b\u201A\u201Ac\u201B\u201Bd"},
        {L"say \"hi\"", L"say \\\"hi\\\""},
        {L"a\\\"b", L"a\\\\\\\"b"},           // one backslash before a quote: doubled, then the quote's
        {L"a\\\\\"b", L"a\\\\\\\\\\\"b"},      // two: four, then the quote's
        {L"end\\", L"end\\"},                  // a trailing backslash is followed by a quote of ours: '
    };
    for (const auto& [text, quoted] : cases) EXPECT_EQ(Words::QuoteForScript(text), quoted);
}

TEST(ApplicationProtocolTest, OnlyAPlainFileNameMayFollowTaskkill) {
    for (const wchar_t* plain : {L"notes.exe", L"odd app.exe", L"x-y_z.1.exe", L"\u00e9diteur.exe"})
        EXPECT_TRUE(Words::IsPlainExecutableName(plain));
    for (const wchar_t* bad : {L"", L".", L"..", L"a&b.exe", L"a|b.exe", L"a<b.exe", L"a>b.exe", L"a^b.exe",
                               L"%x%.exe", L"a!b.exe", L"(a).exe", L"a\"b.exe", L"a'b.exe", L"C:x.exe",
                               L"dir\\x.exe", L"dir/x.exe", L"a\tb.exe", L"a\nb.exe", L"a\x7f.exe"})
        EXPECT_FALSE(Words::IsPlainExecutableName(bad)) << bad;
    EXPECT_TRUE(Words::IsPlainExecutableName(std::wstring(260, L'a')));
    EXPECT_FALSE(Words::IsPlainExecutableName(std::wstring(261, L'a')));
}

// A desktop that knows one application and one file, and records what it was asked.
class Desktop final : public Words::IDesktop {
public:
    std::optional<std::wstring> InstallLocation(const std::wstring& name) override {
        asked.push_back(name);
        if (name == L"Notes") return L"C:\\Program Files\\Notes";
        if (name == L"Empty") return L"";
        return std::nullopt;
    }
    bool PresentDocument(const std::wstring& path) override {
        shown.push_back(path);
        return path == L"C:\\Temp\\doc.txt";
    }
    std::vector<std::wstring> asked;
    std::vector<std::wstring> shown;
};

TEST(ApplicationProtocolTest, TheToolAnswersWithTheFolderOrMinusOne) {
    Desktop desktop;
    EXPECT_EQ(Words::Serve(desktop, Words::kGetApplicationLocation, L"Notes"), L"C:\\Program Files\\Notes");
    EXPECT_EQ(Words::Serve(desktop, Words::kGetApplicationLocation, L"Unknown"), L"-1");
    EXPECT_EQ(Words::Serve(desktop, Words::kGetApplicationLocation, L"Empty"), L"-1");
    EXPECT_EQ(Words::Serve(desktop, Words::kGetApplicationLocation, L""), L"-1");
    EXPECT_EQ(desktop.asked, (std::vector<std::wstring>{L"Notes", L"Unknown", L"Empty"})) << "no lookup without a name";
    EXPECT_EQ(Words::Serve(desktop, Words::kWriteToDoc, L"C:\\Temp\\doc.txt"), L"1");
    EXPECT_EQ(Words::Serve(desktop, Words::kWriteToDoc, L"C:\\Temp\\other.txt"), L"-1");
    EXPECT_EQ(Words::Serve(desktop, Words::kWriteToDoc, L""), L"-1");
    EXPECT_EQ(desktop.shown.size(), 2u);
    EXPECT_EQ(Words::Serve(desktop, L"OpenApplication", L"Notes"), L"-1");
}

}  // namespace
}  // namespace Qv::Tests
