// Device information from the simulated laptop's WMI.
#include "areas/device-info/DeviceInfoHelper.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class DeviceInfoTest : public ServiceFixture {
protected:
    DeviceInfoHelper& info = *DeviceInfoHelper::GetInstance();
};

TEST_F(DeviceInfoTest, IdentityAndMemoryOfTheMachine) {
    EXPECT_EQ(info.GetHostname(), L"LUMEN-14");
    EXPECT_EQ(info.GetProductName(), L"QV Lumen 14");
    EXPECT_EQ(info.GetProductNumber(), L"QVL14-2025");
    EXPECT_EQ(info.GetSerialNumber(), L"SIM0042");
    EXPECT_EQ(info.GetProcessorName(), L"Simulated 8-Core Processor @ 3.2 GHz");
    EXPECT_EQ(info.GetInstalledRAM(), 17179869184ULL);  // two modules of 8589934592
}

TEST_F(DeviceInfoTest, AModuleThatIsNotANumberIsLoggedAndTheOthersCount) {
    device.SimulatedWmi().SetInstances(L"ROOT\\CIMV2", L"Win32_PhysicalMemory",
                                       {{{L"Capacity", std::wstring(L"4294967296")}},
                                        {{L"Capacity", std::wstring(L"lots")}},
                                        {{L"Capacity", int32_t{12}}},
                                        {{L"Capacity", std::wstring(L"4294967296")}}});
    EXPECT_EQ(info.GetInstalledRAM(), 8589934592ULL);
    EXPECT_EQ(log->Count(LogLevel::Error, L"DeviceInfoHelper::QueryPhysicalMemoryCapacitySum - Memory capacity value "
                                          L"'lots' was not integer"),
              1u);
}

TEST_F(DeviceInfoTest, WithoutWmiEverythingIsEmpty) {
    device.SimulatedWmi().RemoveNamespace(L"ROOT\\CIMV2");
    EXPECT_EQ(info.GetHostname(), L"");
    EXPECT_EQ(info.GetSerialNumber(), L"");
    EXPECT_EQ(info.GetInstalledRAM(), 0u);
    EXPECT_TRUE(log->Contains(L"DeviceInfoHelper::QueryPhysicalMemoryCapacitySum - Failed to query physical memory capacity"));
}

}  // namespace
}  // namespace Qv::Tests
