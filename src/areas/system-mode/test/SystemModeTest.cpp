// The firmware system mode: the feature string, the firmware command channel and the commands.
#include "core/status.h"
#include "shared/firmware/FirmwareCommandClient.h"
#include "areas/system-mode/SystemHelper.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class SystemModeTest : public ServiceFixture {
protected:
    void SetFeatures(const std::wstring& value) {
        device.SimulatedWmi().SetInstances(L"ROOT\\QV\\InstrumentedBIOS", L"QVBIOS_BIOSString",
                                           {{{L"Name", std::wstring(L"Feature Byte")}, {L"Value", value}}});
    }
    Sim::SimFirmware& Firmware() { return device.SimulatedWmi().Firmware(); }
};

TEST(FeatureStringTest, CodesCountOnlyAtEvenPositions) {
    EXPECT_TRUE(SystemHelper::HasFeatureCode(L"r4", L"r4"));
    EXPECT_TRUE(SystemHelper::HasFeatureCode(L"a1b2r4", L"r4"));
    EXPECT_FALSE(SystemHelper::HasFeatureCode(L"xr4", L"r4"));
    EXPECT_FALSE(SystemHelper::HasFeatureCode(L"", L"r4"));
    EXPECT_FALSE(SystemHelper::HasFeatureCode(L"r", L"r4"));
    EXPECT_FALSE(SystemHelper::HasFeatureCode(L"4r4", L"r4"));

    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"r4FBYTE#a1te.b2;zz", L"te"), 1);
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"FBYTE#a1b2.te;", L"te"), 0);  // after the "."
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"FBYTE#ate;", L"te"), 0);      // odd position
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"teFBYTE#t;", L"te"), -1);     // a section shorter than a code
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"FBYTE#te;", L"te"), 1);       // a section of exactly one code
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"FBYTE#a1.bte;", L"te"), 0);   // an even position, but after the "."
    EXPECT_EQ(SystemHelper::HasFeatureByteCode(L"te", L"te"), 0);              // no section
}

TEST_F(SystemModeTest, SupportFollowsTheFeatureString) {
    EXPECT_EQ(Call(131), (Answer{Status::kSuccess, L"{\"result\":true}"}));  // the simulated laptop has r4
    SetFeatures(L"rP");
    EXPECT_EQ(Call(131).text, L"{\"result\":true}");
    for (const wchar_t* none : {L"xr4", L"", L"r"}) {
        SetFeatures(none);
        EXPECT_EQ(Call(131).text, L"{\"result\":false}") << none;
    }
    device.SimulatedWmi().RemoveNamespace(L"ROOT\\QV\\InstrumentedBIOS");
    EXPECT_EQ(Call(131).text, L"{\"result\":false}");
    EXPECT_EQ(Call(132).text, L"{\"result\":-1}");
    EXPECT_TRUE(device.SimulatedWmi().FirmwareMethods().empty()) << "an unsupported machine is not asked";
}

TEST_F(SystemModeTest, ReadAndWriteUseTheirMethodsAndBytes) {
    // A successful read still answers -1: the byte's text is compared with the names.
    EXPECT_EQ(Call(132), (Answer{Status::kSuccess, L"{\"result\":-1}"}));
    EXPECT_EQ(Call(133, L"{\"IValue\":258}"), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(device.SimulatedWmi().FirmwareMethods(), (std::vector<std::wstring>{L"qvkBIOSInt4", L"qvkBIOSInt0"}));
    EXPECT_EQ(device.SimulatedWmi().LastFirmwareInput(), (std::vector<uint8_t>{2, 1, 0, 0}));
    EXPECT_EQ(Firmware().systemMode, 2);
    // The mode goes as four bytes, lowest first.
    EXPECT_EQ(Call(133, L"{\"IValue\":67305985}").text, L"{\"result\":true}");  // 0x04030201
    EXPECT_EQ(device.SimulatedWmi().LastFirmwareInput(), (std::vector<uint8_t>{1, 2, 3, 4}));

    Firmware().returnCode = 1;  // any code but 0 is a refusal
    EXPECT_EQ(Call(133, L"{\"IValue\":3}").text, L"{\"result\":false}");
    Firmware().present = false;
    EXPECT_EQ(Call(133, L"{\"IValue\":3}").text, L"{\"result\":false}");
    EXPECT_TRUE(log->Contains(L"SystemHelper.ExecuteCommand - failed on function "
                              L"IWbemServices->GetObject(InputDataBlock) with HRESULT 0x80041002"));
    for (const wchar_t* bad : {L"{}", L"{\"IValue\":null}", L"{\"IValue\":\"3\"}"})
        EXPECT_EQ(Call(133, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << bad;
}

TEST_F(SystemModeTest, TheNameTableIsAsTheFirmwareToolsKnowIt) {
    const auto& names = SystemHelper::ModeNames();
    EXPECT_EQ(names.size(), 6u);
    EXPECT_EQ(names.begin()->first, -1);
    EXPECT_EQ(names.at(4), L"Performance");
    EXPECT_EQ(names.at(6), L"Smart Sense");
}

TEST_F(SystemModeTest, OutputOfAnotherSizeIsLoggedAndLeavesTheBufferAlone) {
    FirmwareCommandClient client(device, "Qv::Tests::FirmwareOwner");
    Firmware().replySize = 2;
    uint8_t output[4] = {9, 9, 9, 9};
    uint32_t returnCode = 77;
    EXPECT_EQ(client.ExecuteCommand(1, 0, 0, nullptr, 4, output, returnCode), 0);
    EXPECT_EQ(returnCode, 0u);
    EXPECT_EQ(std::vector<uint8_t>(output, output + 4), (std::vector<uint8_t>{9, 9, 9, 9}));
    EXPECT_TRUE(log->Contains(L"Qv::Tests::FirmwareOwner.GetOutputData - invalid return data size. requested 4 byte, "
                              L"but retuned 2 byte"));
    EXPECT_EQ(FirmwareCommandClient::MethodName(0), L"qvkBIOSInt0");
    EXPECT_EQ(FirmwareCommandClient::MethodName(32), L"qvkBIOSInt32");
}

}  // namespace
}  // namespace Qv::Tests
