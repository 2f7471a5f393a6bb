// Properties of the standard command table, whatever areas it holds.
#include <regex>
#include <set>
#include <string>

#include "core/status.h"
#include "core/strings.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

TEST(CommandTableTest, NumbersAreUniqueInRangeAndNamesAreAreaDotOperation) {
    const CommandTable& table = CommandTable::Standard();
    std::set<unsigned> numbers;
    const std::regex name("[A-Z][A-Za-z]+\\.[A-Z][A-Za-z]+");
    for (const CommandRow& row : table.Rows()) {
        EXPECT_TRUE(numbers.insert(row.number).second) << "duplicate " << row.number;
        EXPECT_GE(row.number, 1u);
        EXPECT_LE(row.number, 133u);
        EXPECT_TRUE(std::regex_match(row.name, name)) << row.name;
        EXPECT_EQ(table.Find(row.number), &row);
        // A live row has exactly the handler its form calls.
        if (row.Live()) {
            EXPECT_EQ(row.inlineHandler != nullptr, row.form == CommandForm::Inline) << row.name;
        }
    }
    EXPECT_EQ(table.Find(0), nullptr);
    EXPECT_EQ(table.Find(134), nullptr);
}

class StandardRowsTest : public ServiceFixture {
protected:
    StandardRowsTest() { device.InstallTool(TrustedTestKey()); }
};

// Every row, called with no arguments, answers as its form says: a row that is not built as an
// unsupported number; an inline row with one boolean or integer "result", or a failure status
// and no "result"; a filled row with status 0.
TEST_F(StandardRowsTest, EveryRowIsAnsweredInItsForm) {
    // Subscriptions block until they are ended; they are exercised by their own tests.
    const std::set<unsigned> blocking{31};
    for (const CommandRow& row : CommandTable::Standard().Rows()) {
        if (blocking.count(row.number) != 0) continue;
        const Answer answer = Call(row.number, L"{}");
        ASSERT_TRUE(answer.text.has_value()) << row.name;
        Json::Document parsed;
        parsed.Parse(answer.text->c_str());
        ASSERT_TRUE(parsed.IsObject()) << row.name;
        if (!row.Live()) {
            EXPECT_EQ(answer.status, Status::kUnsupportedFunction) << row.name;
            EXPECT_EQ(*answer.text, L"{}") << row.name;
            continue;
        }
        switch (row.form) {
            case CommandForm::Inline:
                if (answer.status == Status::kSuccess) {
                    ASSERT_EQ(parsed.MemberCount(), 1u) << row.name;
                    ASSERT_TRUE(parsed.HasMember(L"result")) << row.name;
                    EXPECT_TRUE(parsed[L"result"].IsBool() || parsed[L"result"].IsInt()) << row.name;
                } else {
                    EXPECT_EQ(*answer.text, L"{}") << row.name;
                }
                break;
            case CommandForm::Filled: EXPECT_EQ(answer.status, Status::kSuccess) << row.name; break;
            case CommandForm::Delegated: EXPECT_NE(answer.status, Status::kUnsupportedFunction) << row.name; break;
        }
    }
}

}  // namespace
}  // namespace Qv::Tests
