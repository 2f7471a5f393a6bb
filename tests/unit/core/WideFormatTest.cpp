#include <gtest/gtest.h>

#include "core/strings.h"
#include "core/wformat.h"

using Qv::Core::FormatWide;

TEST(WideFormat, StringConversionsFollowTheWideMeaning) {
    EXPECT_EQ(FormatWide(L"%s|%ls|%ws", L"wide", L"also", L"too"), L"wide|also|too");
    EXPECT_EQ(FormatWide(L"%S|%hs", "narrow", "short"), L"narrow|short");
    EXPECT_EQ(FormatWide(L"%S.%S - %S cannot be null", "A::B", "NullChecker", "message"),
              L"A::B.NullChecker - message cannot be null");
    EXPECT_EQ(FormatWide(L"[%s] [%S]", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
              L"[(null)] [(null)]");
    EXPECT_EQ(FormatWide(L"%c%C%lc", L'x', 'y', L'z'), L"xyz");
    EXPECT_EQ(FormatWide(L"%.3s|%5s|%-5s|", L"abcdef", L"ab", L"ab"), L"abc|   ab|ab   |");
    // Narrow arguments are UTF-8.
    EXPECT_EQ(FormatWide(L"%S", "caf\xc3\xa9"), L"caf\u00e9");
}

TEST(WideFormat, IntegersOfEveryLength) {
    EXPECT_EQ(FormatWide(L"%d %i %u", -5, 42, 4294967295u), L"-5 42 4294967295");
    EXPECT_EQ(FormatWide(L"%ld %lu", -7L, 7UL), L"-7 7");
    EXPECT_EQ(FormatWide(L"%llu %lld %I64d", 18446744073709551615ULL, -9223372036854775807LL - 1, 5LL),
              L"18446744073709551615 -9223372036854775808 5");
    EXPECT_EQ(FormatWide(L"0x%x 0x%X %#x", 0x20000001u, 0xabcdefu, 255u), L"0x20000001 0xABCDEF 0xff");
    EXPECT_EQ(FormatWide(L"%x", static_cast<unsigned>(-2147024891)), L"80070005");
    EXPECT_EQ(FormatWide(L"%02X%02X", 0x0a, 0xff), L"0AFF");
    EXPECT_EQ(FormatWide(L"%05d|%-4d|%+d|%.3d", -42, 7, 3, 9), L"-0042|7   |+3|009");
    EXPECT_EQ(FormatWide(L"%hd %hhu %zu", 70000, 300, static_cast<size_t>(12)), L"4464 44 12");
    EXPECT_EQ(FormatWide(L"%*d|%-*d|", 4, 1, 3, 2), L"   1|2  |");
}

TEST(WideFormat, PercentAndMalformedConversionsAreKept) {
    EXPECT_EQ(FormatWide(L"100%% done"), L"100% done");
    EXPECT_EQ(FormatWide(L"odd %q and %d", 3), L"odd %q and 3");
    EXPECT_EQ(FormatWide(L"ends in %"), L"ends in %");
    EXPECT_EQ(FormatWide(nullptr), L"");
}

TEST(TextConversion, Utf8AndUtf16RoundTrip) {
    const std::string text = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";  // a, e-acute, euro, emoji
    const std::wstring wide = Qv::Core::Widen(text);
    ASSERT_EQ(wide.size(), 5u);  // the emoji is a surrogate pair in every build
    EXPECT_EQ(static_cast<unsigned>(wide[3]), 0xD83Du);
    EXPECT_EQ(Qv::Core::Narrow(wide), text);
    EXPECT_EQ(Qv::Core::Widen("\xff"), L"\uFFFD");
    EXPECT_EQ(Qv::Core::Narrow(std::wstring(1, static_cast<wchar_t>(0xDC00))), "\xef\xbf\xbd");
}
