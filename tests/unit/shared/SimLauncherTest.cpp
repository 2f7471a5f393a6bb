// The simulated launcher starts nothing real and runs only what the simulated laptop has: the
// installed tool and the programs the areas give it, found as the system's search finds them.
#include <gtest/gtest.h>

#include "platform/sim/SimDevice.h"
#include "areas/sim/SimAreas.h"

namespace Qv::Tests {
namespace {

TEST(SimLauncherTest, ProgramsAreFoundByTheirFileName) {
    for (const wchar_t* name : {L"powershell.exe", L"powershell", L"POWERSHELL.EXE",
                                L"C:\\Windows\\System32\\WindowsPowerShell\\v1.0\\powershell.exe", L"taskkill",
                                L"C:\\Windows\\system32\\SystemSettingsAdminFlows.exe"})
        EXPECT_NE(Sim::FindSimProgram(name), nullptr) << name;
    for (const wchar_t* name : {L"", L"cmd.exe", L"powershell.com", L"notepad", L"powershell.exe.bak"})
        EXPECT_EQ(Sim::FindSimProgram(name), nullptr) << name;
}

TEST(SimLauncherTest, WhatTheLaptopDoesNotHaveDoesNotRun) {
    Sim::SimDevice device;
    auto& processes = device.Processes();
    int token = 0;
    const std::wstring powerShell = L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" ";
    // No such program on the search path, and a named image that is not there.
    EXPECT_EQ(processes.RunAndCapture(&token, L"", L"notepad.exe x.txt").Status(), 2);
    EXPECT_EQ(processes.RunAndCapture(&token, L"C:\\Tools\\powershell.exe", L"powershell.exe -Command \"x\"").Status(), 2);
    EXPECT_EQ(processes.RunAndCapture(nullptr, L"", L"powershell.exe -Command \"x\"").Status(), 6);
    // A script PowerShell would not understand fails there, as PowerShell fails it; so does a
    // PowerShell started without -NoProfile -NonInteractive, which is not the service's.
    for (const wchar_t* script : {L"-NoProfile -NonInteractive -Command \"Remove-Item C:\\x\"",
                                  L"-Command \"Get-StartApps | Where-Object { $_.name -eq 'x' } | Select-Object "
                                  L"-ExpandProperty AppID -First 1\""}) {
        const auto refused = processes.RunAndCapture(&token, L"", powerShell + script);
        ASSERT_TRUE(refused.Ok());
        EXPECT_NE(refused->find("not recognized"), std::string::npos);
    }

    // The command processor: an unknown program is cmd's 1, a missing processor -1.
    const std::string kill = "taskkill /F /T /FI \"SESSION eq 1\" /IM none.exe";
    EXPECT_EQ(processes.RunCommandProcessor("format C:"), 1);
    EXPECT_EQ(processes.RunCommandProcessor(kill), 128);
    device.WithWorld([](Sim::SimWorld& world) { world.commandProcessorMissing = true; });
    EXPECT_EQ(processes.RunCommandProcessor(kill), -1);
    EXPECT_EQ(device.ProcessorCommands(), (std::vector<std::string>{"format C:", kill, kill}));
}

// A bare program name is looked for as CreateProcess looks: the system folders, then PATH. What
// a user put first on PATH runs instead (recorded, and nothing else); a full path does not reach
// it. A PowerShell started without -NoProfile runs its user's profile.
TEST(SimLauncherTest, ABareNameFindsWhatAUserPlantedOnThePath) {
    Sim::SimDevice device;
    auto& processes = device.Processes();
    int token = 0;
    device.WithWorld([](Sim::SimWorld& world) {
        world.environment[L"PATH"] = L"C:\\Users\\Avery\\bin;" + world.environment[L"PATH"];
        world.files.insert(L"c:\\users\\avery\\bin\\powershell.exe");
        world.files.insert(L"c:\\users\\avery\\documents\\windowspowershell\\profile.ps1");
    });
    const std::wstring script = L" -Command \"Get-StartApps | Where-Object { $_.name -eq 'x' } | Select-Object "
                                L"-ExpandProperty AppID -First 1\"";
    EXPECT_TRUE(processes.RunAndCapture(&token, L"", L"powershell.exe" + script).Ok());
    EXPECT_EQ(processes.RunBounded(L"powershell.exe" + script, 5000, 4095).outcome,
              platform::IProcessLauncher::BoundedRun::Outcome::Read);
    const std::wstring real = L"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe";
    EXPECT_TRUE(processes.RunAndCapture(&token, real, L"\"" + real + L"\"" + script).Ok());
    EXPECT_TRUE(processes.RunAndCapture(&token, real, L"\"" + real + L"\" -NoProfile -NonInteractive" + script).Ok());
    device.WithWorld([](Sim::SimWorld& world) {
        EXPECT_EQ(world.plantedRuns.Total(), 2u);
        EXPECT_EQ(world.plantedRuns.Items()[0].rfind(L"C:\\Users\\Avery\\bin\\powershell.exe -Command ", 0), 0u);
        EXPECT_EQ(world.profileRuns.Items(),
                  std::vector<std::wstring>{L"C:\\Users\\Avery\\Documents\\WindowsPowerShell\\profile.ps1"});
    });
}

// Several areas give a PowerShell: each script reaches the one that knows it, and a script none
// knows fails as PowerShell fails it. A bounded run reads no more than it asked for, and a script
// host that hangs is ended.
TEST(SimLauncherTest, BoundedRunsReachTheAreaThatKnowsTheScript) {
    Sim::SimDevice device;
    auto& processes = device.Processes();
    using Outcome = platform::IProcessLauncher::BoundedRun::Outcome;
    const std::wstring host = L"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe -NoProfile -NonInteractive";
    // The audio vendor's script (its class is not installed here: PowerShell catches the error).
    auto vendor = processes.RunBounded(host + L" -ExecutionPolicy Bypass -Command \"try { "
                                              L"$DevicePathEndpointId = '{x}';$result = Invoke-CimMethod -Namespace "
                                              L"'Root\\RealtekAudio' } catch {}\"",
                                       5000, 4095);
    EXPECT_EQ(vendor.outcome, Outcome::Read);
    EXPECT_EQ(vendor.output.rfind("Exception thrown", 0), 0u) << vendor.output;
    // An applications script, through the same program name.
    auto apps = processes.RunBounded(host + L" -Command \"Get-StartApps | Where-Object { $_.name -eq 'None' } | "
                                            L"Select-Object -ExpandProperty AppID -First 1\"",
                                     5000, 4095);
    EXPECT_EQ(apps.outcome, Outcome::Read);
    EXPECT_EQ(apps.output, "");
    auto unknown = processes.RunBounded(host + L" -Command \"Remove-Item C:\\x\"", 5000, 4095);
    EXPECT_NE(unknown.output.find("not recognized"), std::string::npos);
    // At most what was asked for.
    auto cut = processes.RunBounded(host + L" -Command \"Remove-Item C:\\x\"", 5000, 7);
    EXPECT_EQ(cut.output, "The ter");
    // No such program: it cannot be started.
    EXPECT_EQ(processes.RunBounded(L"C:\\nowhere\\missing.exe", 5000, 4095).outcome, Outcome::StartFailed);
    EXPECT_EQ(device.BoundedCommandLines().size(), 5u);
}

}  // namespace
}  // namespace Qv::Tests
