// A signed-in user plants what a service running as SYSTEM might pick up on its way: programs of
// the names the module starts, in a folder the user owns at the head of PATH, and a PowerShell
// profile script of their own. Every live command runs on the full-featured laptop; nothing the
// user planted runs, and every PowerShell the module starts says -NoProfile -NonInteractive.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "areas/applications/sim/SimApplications.h"
#include "areas/audio/sim/SimAudio.h"
#include "platform/sim/SimDevice.h"
#include "unit/Laptop.h"
#include "unit/Requests.h"

namespace Qv::Tests {
namespace {

TEST(EscalationTest, NoCommandRunsWhatAUserPlanted) {
    Laptop laptop;
    Sim::SimDevice& device = laptop.Device();
    device.WithWorld([](Sim::SimWorld& world) {
        const std::wstring bin = L"C:\\Users\\Avery\\bin";
        for (auto* environment : {&world.environment, &world.userEnvironment})
            (*environment)[L"PATH"] = bin + L";" + (*environment)[L"PATH"];
        for (const wchar_t* program : {L"powershell.exe", L"explorer.exe", L"taskkill.exe", L"cmd.exe",
                                       L"SystemSettingsAdminFlows.exe", L"DeviceControlTool.exe"})
            world.files.insert(Sim::Lower(bin + L"\\" + program));
        world.files.insert(L"c:\\users\\avery\\documents\\windowspowershell\\profile.ps1");
        world.files.insert(L"c:\\windows\\system32\\config\\systemprofile\\documents\\windowspowershell\\profile.ps1");
        // The application the walk opens and closes is there and running.
        auto& apps = world.tool.Area<Sim::SimApplications>();
        apps.startApps[L"notepad.exe"] = L"Microsoft.WindowsNotepad_8wekyb3d8bbwe!App";
        apps.installLocations[L"notepad.exe"] = L"C:\\Program Files\\WindowsApps\\Notepad";
        apps.processes.push_back({L"C:\\Program Files\\WindowsApps\\Notepad\\notepad.exe", L"notepad.exe"});
    });
    // Noise control through the vendor's class: its service runs.
    Sim::SimulatedServices(device).SetService(L"RtkAudioUniversalService", Sim::SimServiceStatus::State::Running);

    size_t powerShells = 0;
    for (const Request& request : kRequests) {
        const size_t asUser = device.CommandLines().size();
        const size_t bounded = device.BoundedCommandLines().size();
        laptop.Call(request.number, request.input);
        std::vector<std::wstring> started = device.CommandLines();
        started.erase(started.begin(), started.begin() + std::min(asUser, started.size()));
        const auto service = device.BoundedCommandLines();
        started.insert(started.end(), service.begin() + std::min(bounded, service.size()), service.end());
        for (const std::wstring& line : started) {
            if (line.find(L"powershell.exe") == std::wstring::npos) continue;
            ++powerShells;
            EXPECT_EQ(line.find(L"\"C:\\Windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe\" -NoProfile "
                                L"-NonInteractive "),
                      0u)
                << request.number << ": " << std::string(line.begin(), line.end());
        }
    }
    // Open and close an application, noise control and speaker swap through the vendor's class.
    EXPECT_GE(powerShells, 4u);
    EXPECT_EQ(device.Tool().Area<Sim::SimApplications>().ended.Total(), 1u);
    device.WithWorld([](Sim::SimWorld& world) {
        EXPECT_EQ(world.plantedRuns.Total(), 0u)
            << (world.plantedRuns.Items().empty() ? "" : std::string(world.plantedRuns.Items()[0].begin(),
                                                                    world.plantedRuns.Items()[0].end()));
        EXPECT_EQ(world.profileRuns.Total(), 0u);
    });
}

}  // namespace
}  // namespace Qv::Tests
