// The setters' arguments as every area reads them.
#include <gtest/gtest.h>

#include "service/Arguments.h"

namespace Qv::Tests {
namespace {

namespace Arguments = Bridge::Server::Services::DeviceControl::Arguments;

Json::Document Parse(const wchar_t* text) {
    Json::Document document;
    EXPECT_TRUE(Json::ParseRequest(document, text)) << text;
    return document;
}

TEST(ArgumentsTest, IValueIsAThirtyTwoBitInteger) {
    for (const auto& [text, expected] : std::vector<std::pair<const wchar_t*, int>>{
             {L"{\"IValue\":0}", 0}, {L"{\"IValue\":-7}", -7}, {L"{\"IValue\":2147483647}", 2147483647},
             {L"{\"IValue\":-2147483648}", -2147483647 - 1}}) {
        Json::Document request = Parse(text);
        int value = 99;
        EXPECT_TRUE(Arguments::ReadInteger(&request, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const wchar_t* text : {L"{}", L"{\"IValue\":null}", L"{\"IValue\":\"5\"}", L"{\"IValue\":1.5}",
                                L"{\"IValue\":2147483648}", L"{\"IValue\":true}", L"{\"ivalue\":5}", L"[5]"}) {
        Json::Document request = Parse(text);
        int value = 99;
        EXPECT_FALSE(Arguments::ReadInteger(&request, value)) << text;
        EXPECT_EQ(value, 99) << text;
    }
    int value = 0;
    EXPECT_FALSE(Arguments::ReadInteger(nullptr, value));
}

TEST(ArgumentsTest, BValueIsOnOnlyAsTheLiteralTrue) {
    for (const auto& [text, on] : std::vector<std::pair<const wchar_t*, bool>>{
             {L"{\"BValue\":true}", true}, {L"{\"BValue\":false}", false}, {L"{\"BValue\":1}", false},
             {L"{\"BValue\":\"true\"}", false}, {L"{\"BValue\":{}}", false}}) {
        Json::Document request = Parse(text);
        bool value = !on;
        EXPECT_TRUE(Arguments::ReadSwitch(&request, value)) << text;
        EXPECT_EQ(value, on) << text;
    }
    for (const wchar_t* text : {L"{}", L"{\"BValue\":null}", L"{\"bvalue\":true}"}) {
        Json::Document request = Parse(text);
        bool value = false;
        EXPECT_FALSE(Arguments::ReadSwitch(&request, value)) << text;
    }
}

TEST(ArgumentsTest, SValueIsAStringWithEverythingInIt) {
    Json::Document request = Parse(L"{\"SValue\":\"a\\u0000b \\\"q\\\"\"}");
    std::wstring text;
    ASSERT_TRUE(Arguments::ReadText(&request, text));
    EXPECT_EQ(text, std::wstring(L"a\0b \"q\"", 7));  // an embedded NUL is kept, not cut
    for (const wchar_t* bad : {L"{}", L"{\"SValue\":null}", L"{\"SValue\":5}", L"{\"SValue\":[\"x\"]}"}) {
        Json::Document other = Parse(bad);
        EXPECT_FALSE(Arguments::ReadText(&other, text)) << bad;
    }
}

}  // namespace
}  // namespace Qv::Tests
