// The command framing: null checks, parsing, unsupported numbers, serialisation, the bound.
#include <string>
#include <thread>
#include <vector>

#include "unit/ServiceFixture.h"
#include "core/status.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

// Writes a string member "result" of the length asked for in "IValue".
int WriteLongResult(CommandCall& call) {
    const int length = call.input[L"IValue"].GetInt();
    Json::Value text(std::wstring(static_cast<size_t>(length), L'x').c_str(), static_cast<rapidjson::SizeType>(length),
                     call.output.GetAllocator());
    call.output.AddMember(L"result", text, call.output.GetAllocator());
    return Status::kSuccess;
}

int WriteNestedAndFail(CommandCall& call) {
    auto& alloc = call.output.GetAllocator();
    Json::Value list(rapidjson::kArrayType);
    list.PushBack(1, alloc).PushBack(true, alloc);
    Json::Value inner(rapidjson::kObjectType);
    inner.AddMember(L"name", L"a b", alloc);
    call.output.AddMember(L"list", list, alloc).AddMember(L"inner", inner, alloc);
    return Status::kGeneralFailure;
}

const CommandTable& TestTable() {
    static const CommandTable table({
        {1, "Test.Long", CommandForm::Delegated, &WriteLongResult},
        {2, "Test.Delegated", CommandForm::Delegated, &WriteNestedAndFail},
        {3, "Test.Filled", CommandForm::Filled, &WriteNestedAndFail},
        {4, "Test.NotBuilt", CommandForm::Inline, nullptr},
        {134, "Test.JustOutOfRange", CommandForm::Delegated, &WriteNestedAndFail},
        {200, "Test.OutOfRange", CommandForm::Delegated, &WriteNestedAndFail},
    });
    return table;
}

class DispatchTest : public ServiceFixture {
protected:
    DispatchTest() : ServiceFixture(TestTable()) {}

    size_t ExpectedJsonOverhead() const { return std::wstring(L"{\"result\":\"\"}").size(); }
};

TEST_F(DispatchTest, NullInputAndOutputAreBothReportedAndOutputIsLeftAlone) {
    wchar_t* output = reinterpret_cast<wchar_t*>(0x1);  // must not be touched
    EXPECT_EQ(service->ExecuteCommand(nullptr, 1, nullptr, &output, {}, nullptr), Status::kGeneralFailure);
    EXPECT_EQ(output, reinterpret_cast<wchar_t*>(0x1));
    EXPECT_EQ(log->Count(LogLevel::Warning, L"NullChecker - message cannot be null"), 1u);

    log->Clear();
    std::wstring input = L"{}";
    EXPECT_EQ(service->ExecuteCommand(nullptr, 1, nullptr, nullptr, {}, nullptr), Status::kGeneralFailure);
    EXPECT_EQ(service->ExecuteCommand(nullptr, 1, input.data(), nullptr, {}, nullptr), Status::kGeneralFailure);
    EXPECT_EQ(log->Count(LogLevel::Warning, L"message cannot be null"), 1u);
    EXPECT_EQ(log->Count(LogLevel::Warning, L"outString cannot be null"), 2u);
}

TEST_F(DispatchTest, MalformedJsonGivesNoAnswerText) {
    // Unpaired surrogate escapes are not JSON text either: a lone low one, a high one followed by
    // something else, a high one at the end.
    for (const wchar_t* bad : {L"{", L"", L"{\"IValue\":}", L"{} trailing", L"nul", L"[\"\\uDC00\"]",
                               L"{\"SValue\":\"a\\uDFFFb\"}", L"[\"\\uD800\\u0041\"]", L"[\"\\uD800\"]"}) {
        std::wstring input = bad;
        wchar_t* output = reinterpret_cast<wchar_t*>(0x1);
        EXPECT_EQ(service->ExecuteCommand(nullptr, 1, input.data(), &output, {}, nullptr), Status::kInvalidJson) << bad;
        EXPECT_EQ(output, nullptr) << bad;
    }
}

TEST_F(DispatchTest, PairedSurrogateEscapesAndRawSurrogatesAreText) {
    EXPECT_EQ(Call(99, L"[\"\\uD83D\\uDE00\"]"), (Answer{Status::kUnsupportedFunction, L"{}"}));
    // A raw lone surrogate code unit is passed through as text, as RapidJSON always did.
    EXPECT_EQ(Call(99, L"[\"\xDC00\"]").status, Status::kUnsupportedFunction);
}

TEST_F(DispatchTest, DeeplyNestedOrHugeInputIsAnsweredNotCrashed) {
    EXPECT_EQ(Call(2, std::wstring(200000, L'[')).status, Status::kInvalidJson);
    const std::wstring nested = std::wstring(50000, L'[') + std::wstring(50000, L']');
    EXPECT_EQ(Call(2, nested).status, Status::kGeneralFailure);  // valid JSON: the handler ran
    const std::wstring big = L"{\"SValue\":\"" + std::wstring(1 << 20, L'y') + L"\"}";
    EXPECT_EQ(Call(99, big).text, L"{}");
}

TEST_F(DispatchTest, UnsupportedNumbersAnswerAnEmptyObjectAndLogOnce) {
    for (unsigned number : {0u, 14u, 134u, 4u, 200u, 0xFFFFFFFFu}) {
        log->Clear();
        const Answer answer = Call(number);
        EXPECT_EQ(answer.status, Status::kUnsupportedFunction) << number;
        EXPECT_EQ(answer.text, L"{}") << number;
        ASSERT_EQ(log->Count(LogLevel::Error), 1u) << number;
        EXPECT_TRUE(log->Contains(L"DeviceControlService.ExecuteCommand - Unsupported Function call " +
                                  std::to_wstring(static_cast<int>(number))));
    }
}

TEST_F(DispatchTest, AnswersAreCompactAndKeptOnFailure) {
    const Answer delegated = Call(2);
    EXPECT_EQ(delegated.status, Status::kGeneralFailure);
    EXPECT_EQ(delegated.text, L"{\"list\":[1,true],\"inner\":{\"name\":\"a b\"}}");

    const Answer filled = Call(3);
    EXPECT_EQ(filled.status, Status::kSuccess);
    EXPECT_EQ(filled.text, delegated.text);
}

TEST_F(DispatchTest, AnswerBoundIs65536CharactersWithTheTerminator) {
    const size_t overhead = ExpectedJsonOverhead();
    const Answer fits = Call(1, L"{\"IValue\":" + std::to_wstring(65535 - overhead) + L"}");
    EXPECT_EQ(fits.status, Status::kSuccess);
    ASSERT_TRUE(fits.text.has_value());
    EXPECT_EQ(fits.text->size(), 65535u);

    const Answer tooLong = Call(1, L"{\"IValue\":" + std::to_wstring(65536 - overhead) + L"}");
    EXPECT_EQ(tooLong.status, Status::kGeneralFailure);
    EXPECT_FALSE(tooLong.text.has_value());
}

TEST_F(DispatchTest, ConcurrentCallsKeepTheirOwnAnswers) {
    std::vector<std::thread> threads;
    std::vector<std::wstring> answers(8);
    for (size_t i = 0; i < answers.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round) {
                const Answer a = Call(1, L"{\"IValue\":" + std::to_wstring(i + 1) + L"}");
                if (a.text) answers[i] = *a.text;
            }
        });
    }
    for (auto& t : threads) t.join();
    for (size_t i = 0; i < answers.size(); ++i)
        EXPECT_EQ(answers[i], L"{\"result\":\"" + std::wstring(i + 1, L'x') + L"\"}");
}

}  // namespace
}  // namespace Qv::Tests
