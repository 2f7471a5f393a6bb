// The WMI access layer on the simulated device's WMI: statuses, values, log lines.
#include "core/status.h"
#include "shared/wmi/WmiAccessor.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

class WmiAccessorTest : public ServiceFixture {
protected:
    int Read(const wchar_t* property, const wchar_t* className, const wchar_t* ns = L"ROOT\\CIMV2", bool asArray = false,
             const wchar_t* condition = nullptr) {
        answer.SetObject();
        return wmi.GetPropertyValue(property, className, condition, ns, asArray, answer);
    }
    std::wstring Result() { return Json::Serialize(answer); }

    WmiAccessor wmi{device, "Qv::Tests::WmiOwner"};
    Json::Document answer;
};

TEST_F(WmiAccessorTest, FailuresMapToTheirStatusesAndAreLoggedWithTheOwner) {
    EXPECT_EQ(Read(L"Name", L"Win32_Processor", L"ROOT\\NOWHERE"), 0x20000012);  // no such namespace
    EXPECT_TRUE(log->Contains(L"Qv::Tests::WmiOwner.ConnectToWmi - failed on function "
                              L"IWbemLocator->ConnectServer(WmiNamespace) with HRESULT 0x8004100e"));
    EXPECT_EQ(Read(L"Name", L"Win32_NoSuchClass"), 0x2000000f);  // no such class
    EXPECT_EQ(Read(L"NoSuchProperty", L"Win32_Processor"), 0x2000000d);  // no such property
    device.SimulatedWmi().FailReads(L"Win32_BIOS",
                                    {"EnumClassObject", L"IWbemServices->ExecQuery", static_cast<int32_t>(0x80041017)});
    EXPECT_EQ(Read(L"SerialNumber", L"Win32_BIOS"), 0x20000010);  // an invalid query
    // No instance matches: nothing read, nothing logged, no "result".
    log->Clear();
    EXPECT_EQ(Read(L"Value", L"QVBIOS_BIOSString", L"ROOT\\QV\\InstrumentedBIOS", false, L"Name=\"Other\""),
              Status::kGeneralFailure);
    EXPECT_EQ(Result(), L"{}");
    EXPECT_TRUE(log->Records().empty());
    EXPECT_EQ(log->Count(LogLevel::Warning), 0u);
}

TEST_F(WmiAccessorTest, ValuesBecomeJsonOfTheirType) {
    device.SimulatedWmi().SetInstances(L"ROOT\\Test", L"Sample",
                                       {{{L"Number", int32_t{-7}},
                                         {L"Text", std::wstring(L"a \"quoted\" text")},
                                         {L"Flag", true},
                                         {L"Bytes", std::vector<int32_t>{83, 69, 67, 85}},
                                         {L"Names", std::vector<std::wstring>{L"x", L"y"}},
                                         {L"Flags", std::vector<bool>{true, false}}},
                                        {{L"Number", int32_t{8}}}});
    const std::pair<const wchar_t*, const wchar_t*> expected[] = {
        {L"Number", L"{\"result\":-7}"},
        {L"Text", L"{\"result\":\"a \\\"quoted\\\" text\"}"},
        {L"Flag", L"{\"result\":true}"},
        {L"Bytes", L"{\"result\":[83,69,67,85]}"},
        {L"Names", L"{\"result\":[\"x\",\"y\"]}"},
        {L"Flags", L"{\"result\":[true,false]}"},
    };
    for (const auto& [property, json] : expected) {
        EXPECT_EQ(Read(property, L"Sample", L"ROOT\\Test"), Status::kSuccess) << property;
        EXPECT_EQ(Result(), json);
    }
    EXPECT_EQ(Read(L"Number", L"Sample", L"ROOT\\Test", true), Status::kSuccess);
    EXPECT_EQ(Result(), L"{\"result\":[-7,8]}");
}

}  // namespace
}  // namespace Qv::Tests
