// No text of a client or a user adds an argument, a command or a script statement to what the
// module runs: the texts an attacker would try, and many random ones from the characters that
// matter to the programs' parsers.
#include <gtest/gtest.h>

#include <random>

#include "core/strings.h"
#include "unit/shared/CommandLineChecks.h"

namespace Qv::Tests {
namespace {

TEST(CommandLineTest, NoTextAddsAnArgumentOrAStatement) {
    const std::vector<std::wstring> tries{
        L"", L"Notes", L"x\" /evil \"y", L"x' } ; Remove-Item C:\\* ; { '", L"a\\\"b", L"ends\\", L"ends\\\\",
        L"\\\\\"", L"tab\there", L"new\nline", L"\u2018curly\u2019", L"\u201Cdouble\u201D", L"[a-z]*?`", L"%PATH%",
        L"$(calc)", L"`\"", L"'\"'\"'", L"x\"\"y", L"\\\\server\\share\\\"", L"a b\\ \" c"};
    for (const std::wstring& text : tries) EXPECT_EQ(CommandLines::CheckAll(text), "") << Core::Narrow(text);

    // Random texts over the characters the parsers treat specially, and a few others.
    const std::wstring alphabet = L"ab \t\\\"'`$;|&()[]{}*?%!^<>\r\n\u2018\u2019\u201A\u201B\u201C\u201D:/.,-";
    std::mt19937 random(20261124);
    for (int round = 0; round < 20000; ++round) {
        std::wstring text(random() % 24, L' ');
        for (wchar_t& c : text) c = alphabet[random() % alphabet.size()];
        ASSERT_EQ(CommandLines::CheckAll(text), "") << Core::Narrow(text);
    }
}

}  // namespace
}  // namespace Qv::Tests
