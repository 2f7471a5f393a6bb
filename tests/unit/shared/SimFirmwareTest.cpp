// The simulated firmware takes only a well-formed block, as the firmware does: a request the
// command client did not build right fails the method call instead of answering.
#include <gtest/gtest.h>

#include "platform/sim/SimWmi.h"

namespace Qv::Tests {
namespace {

platform::FirmwareRequest ReadModeRequest() {
    platform::FirmwareRequest request;
    request.methodName = L"qvkBIOSInt4";
    request.sign = {'S', 'E', 'C', 'U'};
    request.command = 1;
    request.commandType = 90;
    request.outputSize = 4;
    return request;
}

TEST(SimFirmwareTest, OnlyAWellFormedBlockIsExecuted) {
    Sim::SimFaults faults;
    Sim::SimWmi wmi{faults};
    wmi.Firmware().systemMode = 3;
    const platform::FirmwareReply good = wmi.ExecuteFirmwareCommand(ReadModeRequest());
    ASSERT_FALSE(good.failure);
    EXPECT_EQ(good.data, (std::vector<uint8_t>{3, 0, 0, 0}));

    auto badSignature = ReadModeRequest();
    badSignature.sign = {'S', 'E', 'C', 'V'};
    auto noSignature = ReadModeRequest();
    noSignature.sign.clear();
    auto otherType = ReadModeRequest();
    otherType.commandType = 91;
    auto wrongMethod = ReadModeRequest();
    wrongMethod.methodName = L"qvkBIOSInt0";
    for (const auto& bad : {badSignature, noSignature, otherType, wrongMethod}) {
        const platform::FirmwareReply reply = wmi.ExecuteFirmwareCommand(bad);
        ASSERT_TRUE(reply.failure);
        EXPECT_EQ(static_cast<uint32_t>(reply.failure->hresult), 0x80041008u);
        EXPECT_FALSE(reply.hasData);
    }

    auto write = ReadModeRequest();
    write.command = 2;
    write.commandType = 90;
    write.data = {1, 0, 0, 0};
    write.outputSize = 0;
    write.methodName = L"qvkBIOSInt0";
    write.sign = {'S', 'E', 'C', 'X'};
    EXPECT_TRUE(wmi.ExecuteFirmwareCommand(write).failure);
    EXPECT_EQ(wmi.Firmware().systemMode, 3) << "a refused write changes nothing";
}

}  // namespace
}  // namespace Qv::Tests
