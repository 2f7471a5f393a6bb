// Application commands end to end on the simulated laptop: the command texts run as the user, the
// tool's answers, taskkill in the service's own context, and the document file.
#include "areas/applications/ApplicationHelper.h"
#include "areas/applications/sim/SimApplications.h"
#include "core/status.h"
#include "core/strings.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

const std::wstring kTool = L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Application ";

class ApplicationTest : public ServiceFixture {
protected:
    ApplicationTest() {
        device.InstallTool(TrustedTestKey());
        Apps().startApps[L"Notes"] = L"Contoso.Notes_8wekyb3d8bbwe!App";
        Apps().installLocations[L"Notes"] = L"C:\\Program Files\\Notes";
        Apps().processes.push_back({L"C:\\Program Files\\Notes\\notes.exe", L"notes.exe"});
    }
    Sim::SimApplications& Apps() { return device.Tool().Area<Sim::SimApplications>(); }
    Answer Open(const std::wstring& name) { return Call(21, L"{\"SValue\":\"" + name + L"\"}"); }
    Answer Close(const std::wstring& name) { return Call(22, L"{\"SValue\":\"" + name + L"\"}"); }
};

TEST_F(ApplicationTest, OpenFindsTheStartMenuIdAndOpensItThroughTheAppsFolder) {
    EXPECT_EQ(Open(L"Notes"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.CommandLines(),
              (std::vector<std::wstring>{
                  L"powershell.exe -Command \"Get-StartApps | Where-Object { $_.name -eq 'Notes' } | Select-Object "
                  L"-ExpandProperty AppID -First 1\"",
                  L"explorer.exe shell:appsFolder\\Contoso.Notes_8wekyb3d8bbwe!App"}));
    EXPECT_EQ(Apps().opened.Items(), std::vector<std::wstring>{L"Contoso.Notes_8wekyb3d8bbwe!App"});

    EXPECT_EQ(Open(L"Unknown App"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.CommandLines().size(), 3u) << "nothing is launched for a name the Start menu does not know";
    EXPECT_EQ(Apps().opened.Total(), 1u);
}

TEST_F(ApplicationTest, ANameCannotLeaveItsQuotes) {
    // Each name stays one literal of the script, as PowerShell reads it, whatever quotes it holds.
    const std::vector<std::pair<std::wstring, std::wstring>> names{
        {L"O'Brien's Notes", L"O'Brien's Notes"},
        {L"x' } ; Remove-Item C:\\\\* ; { '", L"x' } ; Remove-Item C:\\* ; { '"},
        {L"Caf\u2019e", L"Caf\u2019e"},
        {L"say \\\"hi\\\"", L"say \"hi\""},
        {L"back\\\\\\\"slash", L"back\\\"slash"},
    };
    for (const auto& [json, name] : names) {
        Apps().startApps[name] = L"App.Id!" + std::to_wstring(Apps().opened.Total());
        EXPECT_EQ(Open(json).text, L"{\"result\":true}") << Core::Narrow(name);
        const std::wstring script = Apps().scripts.Items().back();
        EXPECT_EQ(script.find(L"Get-StartApps | Where-Object { $_.name -eq '"), 0u) << Core::Narrow(script);
    }
    EXPECT_EQ(Apps().opened.Total(), names.size());
    EXPECT_EQ(device.CommandLines().at(device.CommandLines().size() - 2 * names.size()),
              L"powershell.exe -Command \"Get-StartApps | Where-Object { $_.name -eq 'O''Brien''s Notes' } | "
              L"Select-Object -ExpandProperty AppID -First 1\"");
}

TEST_F(ApplicationTest, CloseEndsTheProcessRunningFromTheInstallFolder) {
    EXPECT_EQ(Close(L"Notes"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.CommandLines(),
              (std::vector<std::wstring>{
                  kTool + L"GetApplicationLocation \"Notes\"",
                  L"powershell.exe -Command \"Get-WmiObject Win32_Process | Where-Object { $_.Path -like 'C:\\Program "
                  L"Files\\Notes*' } | Select-Object -ExpandProperty Name -First 1\""}));
    EXPECT_EQ(device.ProcessorCommands(), std::vector<std::string>{"taskkill /F /T /IM notes.exe"});
    EXPECT_EQ(Apps().ended.Items(), std::vector<std::wstring>{L"notes.exe"});

    // Not running any more: the query finds nothing and taskkill is not run (nothing to refuse either).
    EXPECT_EQ(Close(L"Notes").text, L"{\"result\":false}");
    EXPECT_EQ(log->Count(LogLevel::Error), 0u);
    // Not installed: the tool answers -1 and nothing else runs.
    EXPECT_EQ(Close(L"Unknown").text, L"{\"result\":false}");
    EXPECT_EQ(device.CommandLines().back(), kTool + L"GetApplicationLocation \"Unknown\"");
    EXPECT_EQ(device.ProcessorCommands().size(), 1u);
}

TEST_F(ApplicationTest, OnlyAPlainExecutableNameReachesTaskkill) {
    Apps().installLocations[L"Odd"] = L"C:\\Odd's Apps";
    for (const std::wstring bad : {L"x&calc.exe", L"a|b.exe", L"..\\x.exe", L"x^y.exe", L"%PATH%.exe", L"a\"b.exe",
                                   L"(x).exe", L"x!.exe", L"C:\\x.exe"}) {
        Apps().processes = {{L"C:\\Odd's Apps\\" + bad, bad}};
        EXPECT_EQ(Close(L"Odd").text, L"{\"result\":false}") << Core::Narrow(bad);
    }
    EXPECT_TRUE(device.ProcessorCommands().empty());
    EXPECT_EQ(log->Count(LogLevel::Error, L"not a plain executable name"), 9u);
    // The location's quote stayed inside the script's literal: the process query found them.
    EXPECT_EQ(Apps().scripts.Items().back(),
              L"Get-WmiObject Win32_Process | Where-Object { $_.Path -like 'C:\\Odd''s Apps*' } | Select-Object "
              L"-ExpandProperty Name -First 1");

    Apps().processes = {{L"C:\\Odd's Apps\\odd app.exe", L"odd app.exe"}};
    EXPECT_EQ(Close(L"Odd").text, L"{\"result\":true}");
    EXPECT_EQ(device.ProcessorCommands(), std::vector<std::string>{"taskkill /F /T /IM odd app.exe"});
}

TEST_F(ApplicationTest, WriteToDocWritesUtf8AndHandsThePathToTheTool) {
    EXPECT_EQ(Call(23, L"{\"SValue\":\"Gr\u00fc\u00dfe \u20ac \\uD83D\\uDE00\\nzwei\"}"),
              (Answer{Status::kSuccess, L"{\"result\":true}"}));
    const std::wstring path = L"C:\\Windows\\Temp\\WrenServiceTemp.txt";
    EXPECT_EQ(device.FileText(path), "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x98\x80\nzwei");
    EXPECT_EQ(device.CommandLines().back(), kTool + L"WriteToDoc \"" + path + L"\"");
    ASSERT_EQ(Apps().documents.Total(), 1u);
    EXPECT_EQ(Apps().documents.Items()[0].first, path);

    // A temporary folder reported without its closing backslash still gets one.
    device.WithWorld([](Sim::SimWorld& world) { world.temporaryFolder = L"C:\\Temp"; });
    EXPECT_EQ(Call(23, L"{\"SValue\":\"x\"}").text, L"{\"result\":true}");
    EXPECT_EQ(device.FileText(L"C:\\Temp\\WrenServiceTemp.txt"), "x");
}

TEST_F(ApplicationTest, APlantedLinkIsNeverWrittenThrough) {
    const std::wstring path = L"C:\\Windows\\Temp\\WrenServiceTemp.txt";
    const std::wstring system = L"C:\\Windows\\System32\\drivers\\etc\\hosts";
    device.WriteFile(system, "127.0.0.1 localhost\n");
    device.LinkFile(path, system);  // a user's hard link to a system file, under the fixed name
    EXPECT_EQ(Call(23, L"{\"SValue\":\"evil\"}").text, L"{\"result\":true}");
    EXPECT_EQ(device.FileText(system), "127.0.0.1 localhost\n");
    EXPECT_EQ(device.FileText(path), "evil");

    // A name that cannot be removed is refused: nothing written, the tool not run.
    device.SetUndeletable(path);
    const size_t runs = device.CommandLines().size();
    EXPECT_EQ(Call(23, L"{\"SValue\":\"again\"}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.FileText(path), "evil");
    EXPECT_EQ(device.CommandLines().size(), runs);
    EXPECT_TRUE(log->Contains(L"ApplicationHelper.WriteToDoc - Windows API CreateFileW error, GetLastError = 5"));
}

TEST_F(ApplicationTest, SValueMustBeAString) {
    for (unsigned number : {21u, 22u, 23u})
        for (const wchar_t* bad : {L"{}", L"{\"SValue\":null}", L"{\"SValue\":5}", L"{\"SValue\":[\"x\"]}"})
            EXPECT_EQ(Call(number, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << number << bad;
    EXPECT_TRUE(device.CommandLines().empty());
    EXPECT_TRUE(device.ProcessorCommands().empty());
}

}  // namespace
}  // namespace Qv::Tests
