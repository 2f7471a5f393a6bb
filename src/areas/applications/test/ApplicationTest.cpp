// Application commands end to end on the simulated laptop: the command texts run as the user, the
// tool's answers, taskkill in the user's session, and the document file; and what a user can put
// in the way of each (names, install locations, links).
#include "areas/applications/ApplicationHelper.h"
#include "areas/applications/sim/SimApplications.h"
#include "core/status.h"
#include "core/strings.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

const std::wstring kTool = L"\"C:\\Program Files\\DeviceControl\\DeviceControlTool.exe\" Application ";
const std::wstring kPowerShell = L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" -NoProfile -NonInteractive ";
const std::wstring kTaskKill = L"\"C:\\Windows\\system32\\taskkill.exe\" /F /T /FI \"SESSION eq 1\" /IM ";

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
                  kPowerShell + L"-Command \"Get-StartApps | Where-Object { $_.name -eq 'Notes' } | Select-Object "
                                L"-ExpandProperty AppID -First 1\"",
                  L"\"C:\\Windows\\explorer.exe\" \"shell:appsFolder\\Contoso.Notes_8wekyb3d8bbwe!App\""}));
    EXPECT_EQ(Apps().opened.Items(), std::vector<std::wstring>{L"Contoso.Notes_8wekyb3d8bbwe!App"});

    EXPECT_EQ(Open(L"Unknown App"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.CommandLines().size(), 3u) << "nothing is launched for a name the Start menu does not know";
    // An id the user's Start menu gives that would break out of explorer's one argument.
    Apps().startApps[L"Odd"] = L"x\" /select,\"C:\\Windows";
    EXPECT_EQ(Open(L"Odd").text, L"{\"result\":false}");
    EXPECT_EQ(log->Count(LogLevel::Error, L"ApplicationHelper::OpenApplication - refusing to open"), 1u);
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
              kPowerShell + L"-Command \"Get-StartApps | Where-Object { $_.name -eq 'O''Brien''s Notes' } | "
                            L"Select-Object -ExpandProperty AppID -First 1\"");

    // The tool reads a name with quotes back whole, as its one argument: nothing is added.
    EXPECT_EQ(Close(L"x\\\" Accessory SetMouseSpeed \\\"1").text, L"{\"result\":false}");
    EXPECT_EQ(device.CommandLines().back(), kTool + L"GetApplicationLocation \"x\\\" Accessory SetMouseSpeed \\\"1\"");
    EXPECT_EQ(device.Tool().refused.Total(), 0u);
    EXPECT_EQ(Call(91).text, L"{\"result\":10}");
}

TEST_F(ApplicationTest, CloseEndsTheProcessRunningFromTheInstallFolderAsTheUser) {
    EXPECT_EQ(Close(L"Notes"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.CommandLines(),
              (std::vector<std::wstring>{
                  kTool + L"GetApplicationLocation \"Notes\"",
                  kPowerShell + L"-Command \"Get-WmiObject Win32_Process | Where-Object { $_.Path -like 'C:\\Program "
                                L"Files\\Notes*' } | Select-Object -ExpandProperty Name -First 1\"",
                  kTaskKill + L"\"notes.exe\""}));
    EXPECT_TRUE(device.ProcessorCommands().empty());
    EXPECT_EQ(Apps().ended.Items(), std::vector<std::wstring>{L"notes.exe"});

    // Not running any more: the query finds nothing and taskkill is not run (nothing to refuse either).
    EXPECT_EQ(Close(L"Notes").text, L"{\"result\":false}");
    EXPECT_EQ(log->Count(LogLevel::Error), 0u);
    // Not installed: the tool answers -1 and nothing else runs.
    EXPECT_EQ(Close(L"Unknown").text, L"{\"result\":false}");
    EXPECT_EQ(device.CommandLines().back(), kTool + L"GetApplicationLocation \"Unknown\"");
    EXPECT_EQ(Apps().ended.Total(), 1u);
}

// The install location is the user's to write (their own list of installed programs): it may not
// name the system's folders, and an executable name it leads to ends only the user's processes.
TEST_F(ApplicationTest, CloseNeverReachesTheSystemsProcesses) {
    Apps().processes = {{L"C:\\Windows\\System32\\svchost.exe", L"svchost.exe", 0, true},
                        {L"C:\\Windows\\System32\\csrss.exe", L"csrss.exe", 1, true},
                        {L"C:\\Windows\\explorer.exe", L"explorer.exe", 1, false}};
    for (const wchar_t* location : {L"C:\\Windows\\System32", L"c:/windows/system32/", L"C:\\WINDOWS", L"C:\\Windows",
                                    L"C:\\Windows\\..\\Windows\\System32", L"C:\\", L"C:", L"\\\\server\\share\\apps",
                                    L"C:\\Program Files\\*", L"Windows\\System32"}) {
        Apps().installLocations[L"Evil"] = location;
        EXPECT_EQ(Close(L"Evil").text, L"{\"result\":false}") << Core::Narrow(location);
    }
    EXPECT_EQ(log->Count(LogLevel::Error, L"not an application's own folder"), 10u);
    EXPECT_EQ(Apps().scripts.Total(), 0u) << "no process query for a refused location";

    // A user's own copy named as a system process: only the user's own process, in the user's
    // session, ends; SYSTEM's process of that name and another session's stay.
    Apps().installLocations[L"Evil"] = L"C:\\Users\\Avery\\evil";
    Apps().processes = {{L"C:\\Users\\Avery\\evil\\csrss.exe", L"csrss.exe", 1, false},
                        {L"C:\\Windows\\System32\\csrss.exe", L"csrss.exe", 1, true},
                        {L"C:\\Windows\\System32\\csrss.exe", L"csrss.exe", 0, true},
                        {L"C:\\Users\\Bo\\csrss.exe", L"csrss.exe", 2, false}};
    EXPECT_EQ(Close(L"Evil").text, L"{\"result\":true}");
    EXPECT_EQ(device.CommandLines().back(), kTaskKill + L"\"csrss.exe\"");
    ASSERT_EQ(Apps().processes.size(), 3u);
    EXPECT_TRUE(Apps().processes[0].systemOwned);
    EXPECT_EQ(Apps().processes[1].session, 0u);
    EXPECT_EQ(Apps().processes[2].session, 2u);
}

// The location goes into a -like pattern literally: its wildcard characters match themselves.
TEST_F(ApplicationTest, TheLocationIsMatchedLiterally) {
    Apps().installLocations[L"Brackets"] = L"C:\\Apps\\[N]otes";
    Apps().processes = {{L"C:\\Apps\\N\\other.exe", L"other.exe"}, {L"C:\\Apps\\Notes\\also.exe", L"also.exe"},
                        {L"C:\\Apps\\[N]otes\\real.exe", L"real.exe"}};
    EXPECT_EQ(Close(L"Brackets").text, L"{\"result\":true}");
    EXPECT_EQ(Apps().ended.Items(), std::vector<std::wstring>{L"real.exe"});
    EXPECT_EQ(Apps().scripts.Items().back(),
              L"Get-WmiObject Win32_Process | Where-Object { $_.Path -like 'C:\\Apps\\`[N`]otes*' } | Select-Object "
              L"-ExpandProperty Name -First 1");
    Apps().installLocations[L"Query"] = L"C:\\Apps\\N?tes";
    Apps().processes = {{L"C:\\Apps\\Notes\\also.exe", L"also.exe"}};
    EXPECT_EQ(Close(L"Query").text, L"{\"result\":false}");
}

TEST_F(ApplicationTest, OnlyAPlainExecutableNameReachesTaskkill) {
    Apps().installLocations[L"Odd"] = L"C:\\Odd's Apps";
    for (const std::wstring bad : {L"x&calc.exe", L"a|b.exe", L"..\\x.exe", L"x^y.exe", L"%PATH%.exe", L"a\"b.exe",
                                   L"(x).exe", L"x!.exe", L"C:\\x.exe"}) {
        Apps().processes = {{L"C:\\Odd's Apps\\" + bad, bad}};
        EXPECT_EQ(Close(L"Odd").text, L"{\"result\":false}") << Core::Narrow(bad);
    }
    EXPECT_EQ(Apps().ended.Total(), 0u);
    EXPECT_EQ(log->Count(LogLevel::Error, L"not a plain executable name"), 9u);
    // The location's quote stayed inside the script's literal: the process query found them.
    EXPECT_EQ(Apps().scripts.Items().back(),
              L"Get-WmiObject Win32_Process | Where-Object { $_.Path -like 'C:\\Odd''s Apps*' } | Select-Object "
              L"-ExpandProperty Name -First 1");

    Apps().processes = {{L"C:\\Odd's Apps\\odd app.exe", L"odd app.exe"}};
    EXPECT_EQ(Close(L"Odd").text, L"{\"result\":true}");
    EXPECT_EQ(device.CommandLines().back(), kTaskKill + L"\"odd app.exe\"");
    EXPECT_EQ(Apps().ended.Items(), std::vector<std::wstring>{L"odd app.exe"});
}

TEST_F(ApplicationTest, WriteToDocHandsTheToolAFileItRemovesAfterwards) {
    EXPECT_EQ(Call(23, L"{\"SValue\":\"Gr\u00fc\u00dfe \u20ac \\uD83D\\uDE00\\nzwei\"}"),
              (Answer{Status::kSuccess, L"{\"result\":true}"}));
    const std::wstring path = L"C:\\Windows\\Temp\\WrenServiceTemp.txt";
    EXPECT_EQ(device.CommandLines().back(), kTool + L"WriteToDoc \"" + path + L"\"");
    ASSERT_EQ(Apps().documents.Total(), 1u);
    EXPECT_EQ(Apps().documents.Items()[0].first, path);
    EXPECT_EQ(Apps().documents.Items()[0].second, "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x98\x80\nzwei");
    EXPECT_FALSE(device.Files().FileExists(path)) << "the service's copy outlived the call";

    // A temporary folder reported without its closing backslash still gets one.
    device.WithWorld([](Sim::SimWorld& world) { world.temporaryFolder = L"C:\\Temp"; });
    EXPECT_EQ(Call(23, L"{\"SValue\":\"x\"}").text, L"{\"result\":true}");
    EXPECT_EQ(Apps().documents.Items().back().first, L"C:\\Temp\\WrenServiceTemp.txt");
    // The tool could not show it, or is not trusted: false, and the file goes all the same.
    device.Tool().replies[L"WriteToDoc"] = "-1\r\n";
    EXPECT_EQ(Call(23, L"{\"SValue\":\"y\"}").text, L"{\"result\":false}");
    EXPECT_FALSE(device.Files().FileExists(L"C:\\Temp\\WrenServiceTemp.txt"));
    device.Tool().replies.clear();
    device.InstallTool({0x30, 0x0d, 0x06});  // signed, but by no key of ours
    EXPECT_EQ(Call(23, L"{\"SValue\":\"z\"}").text, L"{\"result\":false}");
    EXPECT_FALSE(device.Files().FileExists(L"C:\\Temp\\WrenServiceTemp.txt"));
    EXPECT_EQ(Apps().documents.Total(), 2u);
    // No temporary folder at all: nothing is written.
    device.WithWorld([](Sim::SimWorld& world) { world.temporaryFolder.clear(); });
    EXPECT_EQ(Call(23, L"{\"SValue\":\"x\"}").text, L"{\"result\":false}");
}

TEST_F(ApplicationTest, APlantedLinkIsNeverWrittenThrough) {
    const std::wstring path = L"C:\\Windows\\Temp\\WrenServiceTemp.txt";
    const std::wstring system = L"C:\\Windows\\System32\\drivers\\etc\\hosts";
    device.WriteFile(system, "127.0.0.1 localhost\n");
    device.LinkFile(path, system);  // a user's hard link to a system file, under the fixed name
    EXPECT_EQ(Call(23, L"{\"SValue\":\"evil\"}").text, L"{\"result\":true}");
    EXPECT_EQ(device.FileText(system), "127.0.0.1 localhost\n");
    EXPECT_EQ(Apps().documents.Items().back().second, "evil");

    // A name that cannot be removed is refused: nothing written, the tool not run.
    device.WriteFile(path, "theirs");
    device.SetUndeletable(path);
    const size_t runs = device.CommandLines().size();
    EXPECT_EQ(Call(23, L"{\"SValue\":\"again\"}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(device.FileText(path), "theirs");
    EXPECT_EQ(device.CommandLines().size(), runs);
    EXPECT_TRUE(log->Contains(L"ApplicationHelper.WriteToDoc - Windows API CreateFileW error, GetLastError = 5"));
}

TEST_F(ApplicationTest, SValueMustBeAString) {
    for (unsigned number : {21u, 22u, 23u})
        for (const wchar_t* bad : {L"{}", L"{\"SValue\":null}", L"{\"SValue\":5}", L"{\"SValue\":[\"x\"]}"})
            EXPECT_EQ(Call(number, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << number << bad;
    EXPECT_TRUE(device.CommandLines().empty());
    EXPECT_TRUE(device.ProcessorCommands().empty());
    // A NUL would end a command line early: such a text runs nothing.
    for (unsigned number : {21u, 22u})
        EXPECT_EQ(Call(number, L"{\"SValue\":\"Notes\\u0000 } ; evil\"}").text, L"{\"result\":false}") << number;
    EXPECT_TRUE(device.CommandLines().empty());
}

}  // namespace
}  // namespace Qv::Tests
