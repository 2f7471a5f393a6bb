// The simulated tool against the contract that the real DeviceControlTool.exe is held to under
// Wine (tests/windows/tool_contract.sh): every area's test/tool-contract.tsv, row by row, on one
// fresh simulated laptop. Also the tool's one rule for reading an argument.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/strings.h"
#include "areas/sim/SimAreas.h"
#include "platform/sim/SimTool.h"
#include "platform/sim/SimWorld.h"
#include "shared/tool/ToolProtocol.h"

namespace Qv::Tests {
namespace {

struct ContractRow {
    std::string file;
    int line;
    std::vector<std::wstring> words;  // area, function, argument; for an arrangement: area, key, value
    std::string expected;
    bool arrangement = false;  // "=" lines arrange the simulated laptop to match the machine under Wine
};

std::vector<ContractRow> ContractRows() {
    std::vector<ContractRow> rows;
    std::vector<std::filesystem::path> files;
    for (const auto& area : std::filesystem::directory_iterator(std::filesystem::path(QV_SOURCE_DIR) / "src/areas")) {
        const auto file = area.path() / "test" / "tool-contract.tsv";
        if (std::filesystem::exists(file)) files.push_back(file);
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        std::ifstream in(file);
        std::string text;
        for (int line = 1; std::getline(in, text); ++line) {
            if (text.empty() || text[0] == '#') continue;
            std::vector<std::string> fields;
            size_t start = 0;
            for (size_t tab; (tab = text.find('\t', start)) != std::string::npos; start = tab + 1)
                fields.push_back(text.substr(start, tab - start));
            fields.push_back(text.substr(start));
            if (fields.size() != 4) {
                ADD_FAILURE() << file << ":" << line << " has " << fields.size() << " fields, not 4";
                continue;
            }
            const bool arrangement = fields[0] == "=";
            if (arrangement) fields.erase(fields.begin());
            rows.push_back({file.string(), line, {Core::Widen(fields[0]), Core::Widen(fields[1]), Core::Widen(fields[2])},
                            arrangement ? "" : fields[3], arrangement});
        }
    }
    return rows;
}

TEST(ToolContractTest, TheSimulatedToolAnswersEveryRowAsTheRealOneMust) {
    const auto rows = ContractRows();
    ASSERT_GE(rows.size(), 30u);  // the mouse and the toasts at least
    Sim::SimWorld world;
    for (const ContractRow& row : rows) {
        if (row.arrangement) {
            EXPECT_TRUE(Sim::ArrangeSimArea(world, row.words[0], row.words[1], row.words[2])) << row.file << ":" << row.line;
            continue;
        }
        std::vector<std::wstring> args{L"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe"};
        args.insert(args.end(), row.words.begin(), row.words.end());
        EXPECT_EQ(Sim::RunSimTool(world, args), row.expected + "\r\n") << row.file << ":" << row.line;
    }
}

TEST(ToolContractTest, AnArgumentIsAWholeThirtyTwoBitDecimal) {
    int value = 0;
    for (const auto& [text, expected] : std::vector<std::pair<std::wstring, int>>{
             {L"0", 0}, {L"15", 15}, {L"-1", -1}, {L"+7", 7}, {L"2147483647", 2147483647},
             {L"-2147483648", -2147483647 - 1}, {L"007", 7}}) {
        EXPECT_TRUE(Tool::ParseInteger(text, value)) << Core::Narrow(text);
        EXPECT_EQ(value, expected) << Core::Narrow(text);
    }
    for (const wchar_t* refused : {L"", L"-", L"+", L"2147483648", L"-2147483649", L"99999999999", L" 5", L"5 ",
                                   L"5abc", L"0x10", L"1.0", L"--1", L"99999999999999999999999"}) {
        value = 42;
        EXPECT_FALSE(Tool::ParseInteger(refused, value)) << Core::Narrow(refused);
        EXPECT_EQ(value, 42) << "a refused argument leaves the value alone";
    }
    bool on = false;
    EXPECT_TRUE(Tool::ParseSwitch(L"1", on));
    EXPECT_TRUE(on);
    EXPECT_TRUE(Tool::ParseSwitch(L"0", on));
    EXPECT_FALSE(on);
    EXPECT_FALSE(Tool::ParseSwitch(L"2", on));
    EXPECT_FALSE(Tool::ParseSwitch(L"-1", on));
}

TEST(ToolContractTest, TheServiceReadsARepliesLeadingInteger) {
    EXPECT_EQ(Tool::ReadInteger(L"12"), 12);
    EXPECT_EQ(Tool::ReadInteger(L"  7 apples"), 7);
    EXPECT_EQ(Tool::ReadInteger(L"-1"), -1);
    EXPECT_EQ(Tool::ReadInteger(L"2147483647"), 2147483647);
    EXPECT_EQ(Tool::ReadInteger(L"2147483648"), std::nullopt);
    EXPECT_EQ(Tool::ReadInteger(L"abc"), std::nullopt);
    EXPECT_EQ(Tool::ReadInteger(L""), std::nullopt);
}

TEST(ToolContractTest, TheSimulatedToolRefusesWhatItDoesNotKnow) {
    Sim::SimWorld world;
    Sim::SimTool& tool = world.tool;
    tool.replies[L"GetMouseSpeed"] = "3\r\n";  // scripted, but only for the area that knows it
    const std::wstring path = L"C:\\DeviceControlTool.exe";
    EXPECT_EQ(Sim::RunSimTool(world, {path, L"Notification", L"GetMouseSpeed", L""}), "-1\r\n");
    EXPECT_EQ(Sim::RunSimTool(world, {path, L"Accessory", L"GetMouseSpeed"}), "-1\r\n");
    EXPECT_EQ(Sim::RunSimTool(world, {path, L"Accessory", L"GetMouseSpeed", L""}), "3\r\n");
    EXPECT_EQ(tool.refused.Items(),
              (std::vector<std::wstring>{L"Notification GetMouseSpeed ", L"Accessory GetMouseSpeed"}));
}

}  // namespace
}  // namespace Qv::Tests
