// Power modes per power source on the simulated laptop.
#include "core/status.h"
#include "areas/power/PowerHelper.h"
#include "areas/power/sim/SimPowerApi.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class PowerModeTest : public ServiceFixture {
protected:
    Sim::SimPowerApi& Power() { return Sim::SimulatedPower(device); }
    // The overlays as the system names them, written out here rather than read from the helper.
    static platform::Guid Overlay(PowerMode mode) {
        switch (mode) {
            case BestPerformance:  // {DED574B5-45A0-4F42-8737-46345C09C238}
                return {0xDED574B5, 0x45A0, 0x4F42, {0x87, 0x37, 0x46, 0x34, 0x5C, 0x09, 0xC2, 0x38}};
            case BestPowerEfficiency:  // {961CC777-2547-4F9D-8174-7D86181B8A7A}
                return {0x961CC777, 0x2547, 0x4F9D, {0x81, 0x74, 0x7D, 0x86, 0x18, 0x1B, 0x8A, 0x7A}};
            default:  // balanced: {00000000-0000-0000-0000-000000000000}
                return {};
        }
    }
};

TEST_F(PowerModeTest, OnlyThePowerSourceInUseIsChanged) {
    EXPECT_EQ(Call(101), (Answer{Status::kSuccess, L"{\"result\":true}"}));
    EXPECT_EQ(Call(102).text, L"{\"result\":1}");  // balanced
    EXPECT_EQ(Call(103, L"{\"IValue\":0}").text, L"{\"result\":true}");
    EXPECT_EQ(Power().Overlay(true), Overlay(BestPerformance));
    EXPECT_EQ(Power().Overlay(false), Overlay(Balanced));

    Power().SetAcLineStatus(0);  // on battery now
    EXPECT_EQ(Call(102).text, L"{\"result\":1}");
    EXPECT_EQ(Call(103, L"{\"IValue\":2}").text, L"{\"result\":true}");
    EXPECT_EQ(Power().Overlay(false), Overlay(BestPowerEfficiency));
    EXPECT_EQ(Power().Overlay(true), Overlay(BestPerformance));
    EXPECT_EQ(Call(102).text, L"{\"result\":2}");
}

TEST_F(PowerModeTest, AnOverlayOfAnotherMakingOrAnUnknownSourceCannotBeRead) {
    Power().SetOverlay(true, {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}});
    EXPECT_EQ(Call(102), (Answer{Status::kValueNotRead, L"{}"}));
    Power().SetAcLineStatus(255);
    PowerHelper helper(&device);
    EXPECT_EQ(helper.GetPowerMode(), -1);
    EXPECT_FALSE(helper.SetPowerMode(Balanced));
}

TEST_F(PowerModeTest, OnlyZeroOneAndTwoAreModes) {
    for (const wchar_t* bad : {L"{\"IValue\":-1}", L"{\"IValue\":3}", L"{}", L"{\"IValue\":null}", L"{\"IValue\":true}"})
        EXPECT_EQ(Call(103, bad), (Answer{Status::kArgumentCheckFailed, L"{}"})) << bad;
}

TEST_F(PowerModeTest, WithoutThePowerModeFunctionsNothingIsSupported) {
    Power().SetFunctions({true, true, true, false});
    PowerHelper partial(&device);
    EXPECT_FALSE(partial.IsPowerSupported());
    EXPECT_EQ(partial.GetPowerMode(), 1);  // the getters are there
    EXPECT_FALSE(partial.SetPowerMode(BestPerformance));
    Power().SetFunctions({false, true, true, true});
    PowerHelper none(&device);
    EXPECT_EQ(none.GetPowerMode(), -1);
}

}  // namespace
}  // namespace Qv::Tests
