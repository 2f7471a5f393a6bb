// The statuses a host sees are the system's numbers, written out here rather than read from the
// code's own constants.
#include "areas/power/sim/SimPowerApi.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

class StatusCodesTest : public ServiceFixture {};

TEST_F(StatusCodesTest, EachFailureAnswersItsNumber) {
    EXPECT_EQ(Call(101).status, 0);
    EXPECT_EQ(Call(14).status, 0x20000001);                     // unsupported function number
    EXPECT_EQ(Call(91, L"{").status, 0x20000003);               // input is not valid JSON
    EXPECT_EQ(Call(92, L"{\"IValue\":0}").status, 0x20000006);  // the argument check failed
    Sim::SimulatedPower(device).SetFunctions({false, false, true, true});
    EXPECT_EQ(Call(102).status, 0x20000004);  // a value could not be read
    wchar_t* output = nullptr;
    EXPECT_EQ(service->ExecuteCommand(nullptr, 101, nullptr, &output, {}, nullptr), 0x20000002);  // general failure
}

}  // namespace
}  // namespace Qv::Tests
