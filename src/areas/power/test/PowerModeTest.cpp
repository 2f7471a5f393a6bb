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
    const platform::Guid& Overlay(PowerMode mode) { return PowerHelper::ModeOverlays().at(mode); }
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
