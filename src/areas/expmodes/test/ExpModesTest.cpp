// Experience modes end to end on the simulated laptop: the built-in modes as this laptop's
// features shape them, the engine that applies and restores them, and the restore-state store.
#include <functional>
#include <stdexcept>
#include <thread>

#include "areas/accessory/sim/SimAccessory.h"
#include "areas/audio/sim/SimAudio.h"
#include "areas/notification/sim/SimNotification.h"
#include "areas/camera/sim/SimCamera.h"
#include "areas/display/DisplayHelper.h"
#include "areas/display/sim/SimDisplay.h"
#include "areas/expmodes/ExpModesHelper.h"
#include "areas/expmodes/sim/SimStoreFiles.h"
#include "areas/power/sim/SimPowerApi.h"
#include "core/status.h"
#include "core/strings.h"
#include "platform/sim/SimWorld.h"
#include "unit/ServiceFixture.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
// The store's private routines, for the tests that save what was loaded.
class ExpModesTestAccess {
public:
    static void Save(ExpModesHelper& helper) { helper.Save(RestoreState); }
    static const std::vector<ExpCommand>& RestoreCommands(ExpModesHelper& helper) { return helper.restoreCommands_; }
    static void AddMode(ExpModesHelper& helper, const ExpMode& mode) { helper.AddOrReplaceMode(mode); }
};
}  // namespace Qv::Bridge::Server::Services::DeviceControl

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

constexpr wchar_t kRestoreFile[] = L"C:\\ProgramData\\QV\\DeviceControl\\ExpModes\\restorestate.json";

struct Row {
    uint32_t type;
    std::wstring parameter;
    std::wstring key;
    int32_t order;
    bool operator==(const Row&) const = default;
};

class ExpModesTest : public ServiceFixture {
protected:
    ExpModesTest() {
        device.InstallTool(TrustedTestKey());
        device.InstallSigned(L"QVDC.dll", TrustedTestKey());
    }
    void Features(bool camera, bool hdr, bool portrait) {
        device.WithWorld([&](Sim::SimWorld& world) {
            Sim::SimCamera& cam = world.tool.Area<Sim::SimCamera>();
            cam.present = camera;
            cam.blurSupported = cam.autoFrameSupported = cam.zoomSupported = camera;
            world.tool.Area<Sim::SimDisplayTool>().hdrSupported = hdr;
        });
        // The display vendor's software, usable or not.
        Sim::SimulatedDisplay(device).Panel().platformSupported = portrait ? 1 : 0;
    }
    ExpModesHelper& Helper() { return *ExpModesHelper::GetInstance(); }
    std::vector<Row> Rows(const std::wstring& name) {
        for (const ExpMode& mode : Helper().ModeList())
            if (mode.ModeName == name) {
                std::vector<Row> rows;
                for (const ExpCommand& c : mode.Commands) rows.push_back({c.Type, c.Parameter, c.ParameterKey, c.Order});
                return rows;
            }
        return {};
    }
    std::vector<uint32_t> Types(const std::wstring& name) {
        std::vector<uint32_t> types;
        for (const Row& row : Rows(name)) types.push_back(row.type);
        return types;
    }
    std::vector<std::wstring> Names() {
        std::vector<std::wstring> names;
        for (const ExpMode& mode : Helper().ModeList()) names.push_back(mode.ModeName);
        return names;
    }
    std::string File() { return device.FileText(kRestoreFile); }
    Sim::SimAudioEndpoints& Audio() { return Sim::SimulatedAudio(device); }
    int SpeakerVolume() {
        for (const auto& endpoint : Audio().GetFlow(platform::IAudioEndpoints::Flow::Render).endpoints)
            if (endpoint.id == Sim::kSimSpeakersId) return static_cast<int>(endpoint.level * 100.0f + 0.5f);
        return -1;
    }
    void Restart() {
        ExpModesHelper::Release();
        DisplayHelper::Release();
    }
};

TEST_F(ExpModesTest, EveryFeatureGivesTheFullModes) {
    Features(true, true, true);
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"battery_and_power", L"movie", L"secure_my_pc", L"conference", L"music",
                                                  L"gaming"}));
    EXPECT_EQ(Rows(L"battery_and_power"),
              (std::vector<Row>{{13, L"0", L"disable", 5}, {14, L"30", L"", 6}, {11, L"0", L"disable", 4},
                                {12, L"0", L"disable", 3}, {3, L"50", L"", 2},
                                {43, L"power_mode_efficiency", L"power_mode_efficiency", 1}}));
    EXPECT_EQ(Rows(L"movie"), (std::vector<Row>{{3, L"80", L"", 3}, {14, L"80", L"", 4}, {16, L"7", L"display_mode_movie", 2},
                                                {13, L"1", L"enable", 1}}));
    EXPECT_EQ(Rows(L"secure_my_pc"), (std::vector<Row>{{11, L"1", L"enable", 99}}));
    EXPECT_EQ(Rows(L"conference"), (std::vector<Row>{{9, L"1", L"on", 4}, {12, L"1", L"on", 3}, {11, L"1", L"on", 2},
                                                     {6, L"0", L"unmute_val", 1}}));
    EXPECT_EQ(Rows(L"music"), (std::vector<Row>{{3, L"80", L"", 2}, {4, L"0", L"unmute_val", 1}}));
    EXPECT_EQ(Rows(L"gaming"), (std::vector<Row>{{14, L"90", L"", 4}, {13, L"1", L"enable", 3},
                                                 {16, L"1", L"display_mode_gaming", 2},
                                                 {43, L"power_mode_performance", L"power_mode_performance", 1}}));
}

TEST_F(ExpModesTest, MissingFeaturesLeaveTheirCommandsOut) {
    Features(false, false, false);
    EXPECT_EQ(Names(), (std::vector<std::wstring>{L"battery_and_power", L"movie", L"conference", L"music", L"gaming"}));
    EXPECT_EQ(Types(L"battery_and_power"), (std::vector<uint32_t>{14, 3, 43}));
    EXPECT_EQ(Types(L"conference"), (std::vector<uint32_t>{9, 6}));
    EXPECT_EQ(Types(L"movie"), (std::vector<uint32_t>{3, 14}));
    EXPECT_EQ(Types(L"gaming"), (std::vector<uint32_t>{14, 43}));
    // A request for the missing mode fails like any unknown name.
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"secure_my_pc\",\"UserPicks\":[]}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
}

TEST_F(ExpModesTest, EachCameraFeatureHasItsOwnProbe) {
    device.WithWorld([](Sim::SimWorld& world) {
        Sim::SimCamera& camera = world.tool.Area<Sim::SimCamera>();
        camera.autoFrameSupported = false;
    });
    EXPECT_EQ(Types(L"battery_and_power"), (std::vector<uint32_t>{13, 14, 11, 3, 43}));
    EXPECT_EQ(Types(L"conference"), (std::vector<uint32_t>{9, 11, 6}));
    Restart();
    device.WithWorld([](Sim::SimWorld& world) {
        Sim::SimCamera& camera = world.tool.Area<Sim::SimCamera>();
        camera.autoFrameSupported = true;
        camera.blurSupported = false;
    });
    EXPECT_EQ(Types(L"battery_and_power"), (std::vector<uint32_t>{13, 14, 12, 3, 43}));
}

TEST_F(ExpModesTest, PortraitAloneAddsTheDisplayModeToMovie) {
    Features(false, false, true);
    EXPECT_EQ(Types(L"movie"), (std::vector<uint32_t>{3, 14, 16}));
}

// The modes ask the tool whether the vendor's presets are there; on a laptop with the vendor's
// software the answer keeps the display-control library in use.
TEST_F(ExpModesTest, AModeLeavesTheDisplayLibraryInUse) {
    Features(true, true, true);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"movie\",\"UserPicks\":[1,2,3,4,5]}").text, L"{\"result\":true}");
    EXPECT_EQ(Call(70).text, L"{\"result\":15}");
    EXPECT_EQ(Call(77).text, L"{\"result\":50}");
}

TEST_F(ExpModesTest, BuildingAModeAgainMovesItToTheEnd) {
    Helper().CreateMovieMode();
    const auto names = Names();
    EXPECT_EQ(std::count(names.begin(), names.end(), L"movie"), 1);
    EXPECT_EQ(names.back(), L"movie");
    EXPECT_EQ(names.size(), 6u);
}

TEST_F(ExpModesTest, ThePowerSaverRunsByOrderAndRecordsWhatItOverwrote) {
    Features(true, true, true);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"battery_and_power\",\"UserPicks\":[]}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    // Power mode, volume 50, auto-frame off, blur off, HDR off, brightness 30.
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":43,\"Parameter\":\"power_mode_balanced\"},"
                      "{\"Type\":3,\"Parameter\":\"50\"},{\"Type\":12,\"Parameter\":\"0\"},{\"Type\":11,\"Parameter\":\"0\"},"
                      "{\"Type\":13,\"Parameter\":\"0\"},{\"Type\":14,\"Parameter\":\"60\"}]}");
    EXPECT_EQ(Sim::SimulatedPower(device).Overlay(true),
              (platform::Guid{0x961cc777, 0x2547, 0x4f9d, {0x81, 0x74, 0x7d, 0x86, 0x18, 0x1b, 0x8a, 0x7a}}));
    EXPECT_EQ(Call(61).text, L"{\"result\":30}");
    // And back.
    EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(61).text, L"{\"result\":60}");
    EXPECT_EQ(Sim::SimulatedPower(device).Overlay(true), platform::Guid{});
    // From best performance, the keyword recorded is performance's.
    Sim::SimulatedPower(device).SetOverlay(true, {0xded574b5, 0x45a0, 0x4f42, {0x87, 0x37, 0x46, 0x34, 0x5c, 0x09, 0xc2, 0x38}});
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"battery_and_power\",\"UserPicks\":[6]}").text, L"{\"result\":true}");
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":43,\"Parameter\":\"power_mode_performance\"}]}");
}

// Each command code reaches its own setting (with its data flow), and records what it overwrote:
// the getter's value, or for codes 2, 7, 8, 9 and 20 the command's own parameter.
TEST_F(ExpModesTest, EveryCommandCodeReachesItsSettingAndRecordsItsPrevious) {
    Features(true, true, true);
    Sim::SimulatedServices(device).SetService(L"RtkAudioUniversalService", Sim::SimServiceStatus::State::Running);
    device.WithWorld([](Sim::SimWorld& world) { world.tool.Area<Sim::SimRealtek>().installed = true; });
    const std::wstring speakers = L"{0.0.0.00000000}.{6f1c0d4e-21b7-4c8a-9e55-0a7d3e9b8c12}";
    const std::wstring microphone = L"{0.0.1.00000000}.{2d8e7f90-3a1b-4c5d-a6e7-f8091a2b3c4d}";
    struct Row {
        uint32_t code;
        const wchar_t* parameter;
        const char* previous;
        std::function<void()> check;
    };
    const std::vector<Row> rows{
        {1, L"12", "10", [&] { EXPECT_EQ(Call(91).text, L"{\"result\":12}"); }},
        {2, L"1", "1",
         [&] { device.WithWorld([](Sim::SimWorld& w) { EXPECT_TRUE(w.tool.Area<Sim::SimMouse>().buttonsSwapped); }); }},
        {5, L"30", "80", [&] { EXPECT_EQ(Call(44, L"{\"dataFlow\":1}").text, L"{\"result\":30}"); }},
        {6, L"1", "0", [&] { EXPECT_EQ(Call(42, L"{\"dataFlow\":1}").text, L"{\"result\":true}"); }},
        {7, L"1", "1",
         [&] {
             device.WithWorld([&](Sim::SimWorld& w) {
                 const auto calls = w.tool.Area<Sim::SimRealtek>().calls.Items();
                 ASSERT_FALSE(calls.empty());
                 EXPECT_NE(calls.back().find(speakers), std::wstring::npos) << Core::Narrow(calls.back());
             });
         }},
        {8, L"0", "0",
         [&] {
             device.WithWorld([&](Sim::SimWorld& w) {
                 const auto calls = w.tool.Area<Sim::SimRealtek>().calls.Items();
                 ASSERT_FALSE(calls.empty());
                 EXPECT_NE(calls.back().find(microphone), std::wstring::npos) << Core::Narrow(calls.back());
             });
         }},
        {10, L"200", "100", [&] { EXPECT_EQ(Call(2).text, L"{\"result\":200}"); }},
        {9, L"0", "0",
         [&] {
             ASSERT_FALSE(device.ProcessorCommands().empty());
             EXPECT_EQ(device.ProcessorCommands().back(),
                       "C:\\Windows\\system32\\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 0");
         }},
        {20, L"0", "0", [&] { EXPECT_EQ(Call(121).text, L"{\"result\":false}"); }},
    };
    for (const Row& row : rows) {
        ExpModesTestAccess::AddMode(Helper(), {L"probe", {{row.code, row.parameter, L"", 1}}});
        EXPECT_EQ(Call(110, L"{\"ModeName\":\"probe\",\"UserPicks\":[]}").text, L"{\"result\":true}") << row.code;
        EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":" + std::to_string(row.code) +
                              ",\"Parameter\":\"" + row.previous + "\"}]}")
            << row.code;
        row.check();
    }
}

// HDR (13) runs only when its state reads: a tool answering 0 for the switch, or a state that
// cannot be read, fails the command. The power keyword (43) of a mode the machine does not know,
// or cannot tell, is empty.
TEST_F(ExpModesTest, HdrAndPowerCommandsAtTheirEdges) {
    Features(true, true, true);
    ExpModesTestAccess::AddMode(Helper(), {L"probe", {{13, L"1", L"", 1}}});
    device.Tool().replies[L"SetHDROnOff"] = "0\r\n";
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"probe\",\"UserPicks\":[]}").text, L"{\"result\":false}");
    device.Tool().replies.clear();
    device.WithWorld([](Sim::SimWorld& w) { w.tool.Area<Sim::SimDisplayTool>().hdrReadable = false; });
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"probe\",\"UserPicks\":[]}").text, L"{\"result\":false}");
    EXPECT_EQ(File(), "");

    ExpModesTestAccess::AddMode(Helper(), {L"probe", {{43, L"power_mode_efficiency", L"", 1}}});
    Sim::SimulatedPower(device).SetOverlay(true, {0x12345678, 0x1, 0x2, {0, 0, 0, 0, 0, 0, 0, 1}});
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"probe\",\"UserPicks\":[]}").text, L"{\"result\":true}");
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":43,\"Parameter\":\"\"}]}");
}

TEST_F(ExpModesTest, PicksAreOneBasedAndRunAsOftenAsGiven) {
    // Music has 2 commands: 0, 3 and the negatives are no position, the lowest int included.
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[0,3,-1,-2147483648,2147483647]}"),
              (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(File(), "");
    // [1, 1] on music: the volume twice; the second records what the first set.
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[1,1]}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\"50\"},"
                      "{\"Type\":3,\"Parameter\":\"80\"}]}");
    EXPECT_EQ(SpeakerVolume(), 80);
    // Restoring runs the entries in their order: 50, then 80 again.
    EXPECT_EQ(Call(111).text, L"{\"result\":true}");
    EXPECT_EQ(SpeakerVolume(), 80);
    // Only the second command.
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}").text, L"{\"result\":true}");
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":4,\"Parameter\":\"0\"}]}");

    // At most 4096 picks, so that the restore state always fits the store's file.
    const auto picks = [](size_t count) {
        std::wstring list = L"{\"ModeName\":\"music\",\"UserPicks\":[";
        for (size_t i = 0; i < count; ++i) list += i == 0 ? L"1" : L",1";
        return list + L"]}";
    };
    EXPECT_EQ(Call(110, picks(4097)), (Answer{Status::kArgumentCheckFailed, L"{}"}));
    EXPECT_EQ(Call(110, picks(4096)).text, L"{\"result\":true}");
    // {"ModeName":"restorestate","Commands":[ ... ]}: 4096 entries {"Type":3,"Parameter":"80"} and commas.
    EXPECT_EQ(File().size(), 39u + 4096u * 27u + 4095u + 2u);
}

TEST_F(ExpModesTest, NothingDoneLeavesTheRestoreStateAlone) {
    EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[]}").text, L"{\"result\":true}");
    const std::string before = File();
    // Every gaming command fails here: no brightness method, no power functions, no HDR, no portrait.
    device.SimulatedWmi().SetMethod(L"WmiMonitorBrightnessMethods", L"WmiSetBrightness",
                                    [](Sim::SimWmi&, const std::map<std::wstring, std::wstring>&) -> platform::Result<void> {
                                        return platform::Failure{static_cast<int32_t>(0x80041008)};
                                    });
    Sim::SimulatedPower(device).SetFunctions({true, true, false, false});
    Features(true, false, false);
    Restart();
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"gaming\",\"UserPicks\":[]}"), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(File(), before);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"Music\",\"UserPicks\":[]}").text, L"{\"result\":false}");
    EXPECT_EQ(File(), before);
}

TEST_F(ExpModesTest, TheRequestIsChecked) {
    for (const wchar_t* input : {L"{}", L"{\"ModeName\":\"music\"}", L"{\"UserPicks\":[]}", L"{\"ModeName\":1,\"UserPicks\":[]}",
                                 L"{\"ModeName\":\"music\",\"UserPicks\":1}", L"{\"ModeName\":\"music\",\"UserPicks\":[\"1\"]}",
                                 L"{\"ModeName\":null,\"UserPicks\":[]}", L"{\"ModeName\":\"music\",\"UserPicks\":[1.5]}"})
        EXPECT_EQ(Call(110, input), (Answer{Status::kArgumentCheckFailed, L"{}"})) << input;
    EXPECT_EQ(File(), "");
}

// Folders a user made first, under the store's names: each is taken over, not trusted.
TEST_F(ExpModesTest, StoreFoldersAUserMadeFirstAreTakenOver) {
    const std::wstring user = L"S-1-5-21-2079104543-3203125434-1873629513-1001";
    device.WithWorld([&](Sim::SimWorld& world) {
        for (const wchar_t* folder : {L"c:\\programdata\\qv", L"c:\\programdata\\qv\\devicecontrol"}) {
            world.folders.insert(folder);
            world.owners[folder] = user;
            world.folderAccess[folder] = L"D:(A;OICI;FA;;;BU)";
        }
        // Owned by the administrators, but open to every user.
        world.folders.insert(L"c:\\programdata\\qv\\devicecontrol\\expmodes");
        world.owners[L"c:\\programdata\\qv\\devicecontrol\\expmodes"] = L"S-1-5-32-544";
        world.folderAccess[L"c:\\programdata\\qv\\devicecontrol\\expmodes"] = L"D:(A;OICI;FA;;;BA)(A;OICI;0x1301bf;;;BU)";
    });
    EXPECT_EQ(Helper().RestoreStatePath(), kRestoreFile);
    device.WithWorld([&](Sim::SimWorld& world) {
        for (const wchar_t* folder : {L"c:\\programdata\\qv", L"c:\\programdata\\qv\\devicecontrol",
                                      L"c:\\programdata\\qv\\devicecontrol\\expmodes"}) {
            EXPECT_EQ(world.owners[folder], L"S-1-5-18") << folder;
            EXPECT_EQ(world.folderAccess[folder], L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;BU)") << folder;
        }
        EXPECT_EQ(world.folderAccess.count(L"c:\\programdata"), 0u);
    });
    EXPECT_EQ(log->Count(LogLevel::Warning, L"ExpModesHelper::GetCfgFolderPath - Took over the folder C:\\ProgramData\\QV"), 3u);
    EXPECT_EQ(log->Count(LogLevel::Warning, L"its owner was " + user), 2u);
}

// A junction where the store's top folder goes: refused before anything is made through it.
TEST_F(ExpModesTest, AJunctionOnTheStoresPathIsRefusedBeforeAnythingIsMadeThroughIt) {
    for (const wchar_t* junction : {L"c:\\programdata\\qv", L"c:\\programdata\\qv\\devicecontrol"}) {
        Restart();
        device.WithWorld([&](Sim::SimWorld& world) {
            world.folders.insert(L"c:\\programdata\\qv");
            world.folders.insert(L"c:\\users\\avery\\bait");
            world.junctions[junction] = L"C:\\Users\\Avery\\bait";
        });
        try {
            Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}");
            ADD_FAILURE() << "no exception for " << Core::Narrow(junction);
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), 4395) << junction;
            EXPECT_EQ(std::string(error.what()).rfind("create_directories: ", 0), 0u) << error.what();
        }
        device.WithWorld([&](Sim::SimWorld& world) {
            for (const std::wstring& folder : world.folders) EXPECT_EQ(folder.find(L"bait\\"), std::wstring::npos) << folder;
            for (const std::wstring& file : world.files) EXPECT_EQ(file.find(L"bait\\"), std::wstring::npos) << file;
            world.junctions.clear();
        });
        EXPECT_EQ(log->Count(LogLevel::Error, L"Refused to use C:\\ProgramData\\QV"), 1u) << junction;
        log->Clear();
    }
}

// Between the checks and the write, a user swaps the store's folder for a junction: the folder
// is held open, so the swap fails and the file lands where it belongs.
TEST_F(ExpModesTest, TheStoreFolderCannotBeSwappedBetweenTheCheckAndTheWrite) {
    Helper();
    device.WithWorld([](Sim::SimWorld& world) { world.folders.insert(L"c:\\users\\avery\\bait"); });
    bool swapped = true;
    Sim::SimulatedStore(device).BeforeNextWrite([&] {
        swapped = Sim::SimulatedStore(device).SwapForJunction(L"C:\\ProgramData\\QV\\DeviceControl\\ExpModes",
                                                              L"C:\\Users\\Avery\\bait");
    });
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}").text, L"{\"result\":true}");
    EXPECT_FALSE(swapped);
    EXPECT_NE(File(), "");
    EXPECT_EQ(device.FileText(L"C:\\Users\\Avery\\bait\\restorestate.json"), "");
}

// Links a user plants under the names the store writes: nothing is ever written through them.
TEST_F(ExpModesTest, LinksPlantedInTheStoreAreNeverWrittenThrough) {
    constexpr wchar_t kSystemFile[] = L"C:\\Windows\\System32\\config\\SAM";
    constexpr wchar_t kPlanted[] = L"C:\\ProgramData\\QV\\DeviceControl\\ExpModes\\restorestate.json.tmp";
    Helper();
    device.WriteFile(kSystemFile, "accounts");
    device.LinkFile(kPlanted, kSystemFile);  // the temporary name a save once used
    device.LinkFile(kRestoreFile, kSystemFile);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}").text, L"{\"result\":true}");
    EXPECT_EQ(device.FileText(kSystemFile), "accounts");
    EXPECT_EQ(File(), "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":4,\"Parameter\":\"0\"}]}");
    // A new service removes what interrupted saves left, the planted name among them.
    device.WriteFile(L"C:\\ProgramData\\QV\\DeviceControl\\ExpModes\\restorestate.json.0b5e-left.tmp", "{\"Mo");
    Restart();
    Helper();
    EXPECT_FALSE(device.Files().FileExists(kPlanted));
    EXPECT_FALSE(device.Files().FileExists(L"C:\\ProgramData\\QV\\DeviceControl\\ExpModes\\restorestate.json.0b5e-left.tmp"));
    EXPECT_EQ(device.FileText(kSystemFile), "accounts");
    EXPECT_TRUE(device.Files().FileExists(kRestoreFile));
}

// A restore state a user wrote (a file of theirs, or a second name of another file) is not read.
TEST_F(ExpModesTest, ARestoreStateAUserWroteIsNotRead) {
    const std::string state = "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\"35\"}]}";
    Helper();
    Restart();
    device.WriteFile(kRestoreFile, state);
    device.WithWorld([](Sim::SimWorld& world) {
        world.owners[L"c:\\programdata\\qv\\devicecontrol\\expmodes\\restorestate.json"] =
            L"S-1-5-21-2079104543-3203125434-1873629513-1001";
    });
    EXPECT_EQ(Call(111).text, L"{\"result\":false}");
    Restart();
    device.WriteFile(kRestoreFile, state);
    device.LinkFile(L"C:\\Users\\Avery\\state.json", kRestoreFile);
    EXPECT_EQ(Call(111).text, L"{\"result\":false}");
    EXPECT_EQ(SpeakerVolume(), 50);
    EXPECT_EQ(log->Count(LogLevel::Error, L"ExpModesHelper::Load - Refused to read C:\\ProgramData\\QV\\DeviceControl\\ExpModes\\restorestate.json"), 2u);
    // The service's own file, as it wrote it, is read.
    Restart();
    device.WriteFile(kRestoreFile, state);
    EXPECT_EQ(Call(111).text, L"{\"result\":true}");
    EXPECT_EQ(SpeakerVolume(), 35);
}

TEST_F(ExpModesTest, ALoadedStateIsRestoredAndSavedAgainAsItWas) {
    const std::string text = "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":43,\"Parameter\":\"power_mode_performance\"},"
                             "{\"Type\":3,\"Parameter\":\"35\"}]}";
    Helper();
    Restart();
    device.WriteFile(kRestoreFile, text);
    EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(SpeakerVolume(), 35);
    EXPECT_EQ(Sim::SimulatedPower(device).Overlay(true),
              (platform::Guid{0xded574b5, 0x45a0, 0x4f42, {0x87, 0x37, 0x46, 0x34, 0x5c, 0x09, 0xc2, 0x38}}));
    for (const ExpCommand& command : ExpModesTestAccess::RestoreCommands(Helper())) {
        EXPECT_EQ(command.Order, 99);
        EXPECT_EQ(command.ParameterKey, L"");
    }
    device.WriteFile(kRestoreFile, "");
    ExpModesTestAccess::Save(Helper());
    EXPECT_EQ(File(), text);
}

TEST_F(ExpModesTest, AStateWithoutANameRestoresNothing) {
    Helper();
    Restart();
    device.WriteFile(kRestoreFile, "{\"Commands\":[{\"Type\":3,\"Parameter\":\"35\"}]}");
    EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(SpeakerVolume(), 50);
}

TEST_F(ExpModesTest, AnEmptyObjectRestoresNothing) {
    Helper();
    Restart();
    device.WriteFile(kRestoreFile, "{}");
    EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":false}"}));
    EXPECT_EQ(File(), "{}");
}

TEST_F(ExpModesTest, ACorruptFileIsLoggedAndDeleted) {
    Helper();
    for (const char* corrupt : {"not json", "[1,2]", "{\"ModeName\":7}", "{\"Commands\":{}}", "{\"Commands\":[1]}",
                                "{\"Commands\":[{\"Type\":\"3\"}]}"}) {
        Restart();
        log->Clear();
        device.WriteFile(kRestoreFile, corrupt);
        EXPECT_EQ(Call(111), (Answer{Status::kSuccess, L"{\"result\":false}"})) << corrupt;
        EXPECT_EQ(log->Count(LogLevel::Error,
                             L"Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::Load - Exception occurred while "
                             L"loading ExpModes config: "),
                  1u)
            << corrupt;
        EXPECT_FALSE(device.Files().FileExists(kRestoreFile)) << corrupt;
    }
    // One that cannot be deleted stays, and says so.
    Restart();
    log->Clear();
    device.WriteFile(kRestoreFile, "not json");
    device.SetUndeletable(kRestoreFile);
    Helper();
    EXPECT_EQ(log->Count(LogLevel::Error, L"Exception occurred while deleting corrupt ExpModes config file"), 1u);
    EXPECT_TRUE(device.Files().FileExists(kRestoreFile));
}

TEST_F(ExpModesTest, AnUnreadableFileIsAWarning) {
    Helper();
    Restart();
    device.AddFile(kRestoreFile);  // there, but nothing can be read from it
    EXPECT_EQ(Call(111).text, L"{\"result\":false}");
    EXPECT_EQ(log->Count(LogLevel::Warning, L"ExpModesHelper::Load - Failed to open analytics cfg file at C:\\ProgramData"), 1u);
}

// A restore command whose Parameter is no number is skipped and logged; the rest of the state is
// put back, and the next restore is not stuck on it. Numbers read as std::stoi reads them.
TEST_F(ExpModesTest, ARestoreCommandThatIsNoNumberIsSkipped) {
    for (const char* bad : {"loud", "99999999999"}) {
        Restart();
        log->Clear();
        device.WriteFile(kRestoreFile, std::string("{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\"") +
                                           bad + "\"},{\"Type\":1,\"Parameter\":\"12\"}]}");
        EXPECT_EQ(Call(111).text, L"{\"result\":true}") << bad;
        EXPECT_EQ(Call(91).text, L"{\"result\":12}") << bad;
        EXPECT_EQ(SpeakerVolume(), 50) << bad;
        EXPECT_EQ(log->Count(LogLevel::Error, L"ExpModesHelper::RestoreMode - Skipped a restore command of type 3: its "
                                              L"Parameter \"" + Core::Widen(bad) + L"\" is not a number"),
                  1u)
            << bad;
        EXPECT_EQ(Call(111).text, L"{\"result\":true}") << bad;
    }
    // Leading blanks and trailing text are a number's business: " 40%" is 40.
    Restart();
    device.WriteFile(kRestoreFile, "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\" 40%\"}]}");
    EXPECT_EQ(Call(111).text, L"{\"result\":true}");
    EXPECT_EQ(SpeakerVolume(), 40);
}

// What was read before a fault in the file stays in memory (the file itself is deleted).
TEST_F(ExpModesTest, APartlyReadStateIsKept) {
    Helper();
    Restart();
    device.WriteFile(kRestoreFile, "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\"35\"},"
                                   "{\"Type\":\"3\",\"Parameter\":\"45\"}]}");
    EXPECT_EQ(Call(111).text, L"{\"result\":true}");
    EXPECT_EQ(SpeakerVolume(), 35);
    EXPECT_FALSE(device.Files().FileExists(kRestoreFile));
}

TEST_F(ExpModesTest, ASaveCutOffAtAnyByteLeavesTheOldFileOrTheNew) {
    const auto speakers = Audio().GetFlow(platform::IAudioEndpoints::Flow::Render);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}").text, L"{\"result\":true}");
    const std::string old = File();
    const std::string fresh = "{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":3,\"Parameter\":\"50\"}]}";
    for (long cut = 0; cut <= static_cast<long>(fresh.size()); ++cut) {
        Sim::SimulatedStore(device).CutSavesAfter(cut);
        Audio().SetFlow(platform::IAudioEndpoints::Flow::Render, speakers);
        EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[1]}").text, L"{\"result\":true}") << cut;
        ASSERT_EQ(File(), old) << cut;
        // A new service reads the old state whole.
        Restart();
        EXPECT_EQ(Call(111).text, L"{\"result\":true}") << cut;
    }
    Sim::SimulatedStore(device).CutSavesAfter(-1);
    Audio().SetFlow(platform::IAudioEndpoints::Flow::Render, speakers);
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[1]}").text, L"{\"result\":true}");
    EXPECT_EQ(File(), fresh);
}

TEST_F(ExpModesTest, AJunctionMadeLaterIsRefusedToo) {
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}").text, L"{\"result\":true}");
    const std::string old = File();
    device.WithWorld([](Sim::SimWorld& world) { world.reparsePoints.insert(L"c:\\programdata\\qv\\devicecontrol"); });
    EXPECT_EQ(Call(110, L"{\"ModeName\":\"music\",\"UserPicks\":[1]}").text, L"{\"result\":true}");
    EXPECT_EQ(File(), old);
    EXPECT_EQ(log->Count(LogLevel::Error, L"a reparse point is on its path"), 1u);
    // A new service does not start on it, nor is a corrupt file deleted through it.
    device.WriteFile(kRestoreFile, "not json");
    Restart();
    EXPECT_THROW(Call(111), std::system_error);
    EXPECT_EQ(File(), "not json");
}

TEST_F(ExpModesTest, AStoreFolderThatCannotBeMadeFailsTheCommandNotTheService) {
    Sim::SimulatedStore(device).FailCreate(5);
    EXPECT_THROW(Call(111), std::system_error);
    Sim::SimulatedStore(device).FailCreate(0);
    EXPECT_EQ(Call(111).text, L"{\"result\":false}");
    // Whether the restore file is there cannot be told: the helper is not made.
    Restart();
    Sim::SimulatedStore(device).FailExists(kRestoreFile, 21);
    try {
        Call(111);
        ADD_FAILURE() << "no exception";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), 21);
        EXPECT_EQ(std::string(error.what()).rfind("exists: C:\\ProgramData", 0), 0u) << error.what();
    }
    Sim::SimulatedStore(device).FailExists(kRestoreFile, 0);
    // Without ProgramData the store has no place: never a folder relative to the drive's root.
    Restart();
    Sim::SimulatedStore(device).SetProgramDataMissing(true);
    EXPECT_THROW(Call(111), std::system_error);
    EXPECT_EQ(log->Count(LogLevel::Error,
                         L"Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper::GetCfgFolderPath - Failed to expand "
                         L"ProgramData"),
              1u);
    device.WithWorld([](Sim::SimWorld& world) { EXPECT_EQ(world.folders.count(L"\\qv"), 0u); });
}

TEST_F(ExpModesTest, TwoSessionsChangeAndRestoreAtOnce) {
    Helper();
    void* sessions[2] = {};
    for (void*& session : sessions) ASSERT_EQ(service->StartSession(const_cast<wchar_t*>(L"client"), &session), 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 20; ++i) {
                EXPECT_EQ(Call(110, t == 0 ? L"{\"ModeName\":\"music\",\"UserPicks\":[]}" : L"{\"ModeName\":\"movie\",\"UserPicks\":[1]}",
                               sessions[t])
                              .status,
                          Status::kSuccess);
                EXPECT_EQ(Call(111, L"{}", sessions[t]).status, Status::kSuccess);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (void*& session : sessions) service->EndSession(&session);
    // The file is one whole restore state, of one mode or the other.
    const std::string file = File();
    EXPECT_TRUE(file.starts_with("{\"ModeName\":\"restorestate\",\"Commands\":[{\"Type\":")) << file;
    EXPECT_TRUE(file.ends_with("}]}")) << file;
}

}  // namespace
}  // namespace Qv::Tests
