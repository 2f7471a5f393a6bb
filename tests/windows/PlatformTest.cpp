// WMI and device information on the Windows ports, compared with WMI read directly; firmware,
// power modes and toasts of the real DLL under Wine.
#include <windows.h>
#include <wbemidl.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ServiceDll.h"
#include "core/json.h"
#include "shared/wmi/WmiAccessor.h"
#include "areas/device-info/DeviceInfoHelper.h"

namespace Qv::WindowsTests {
namespace {

using namespace Bridge::Server::Services::DeviceControl;

// Every value of `property` of `className` in ROOT\CIMV2, read with plain COM calls.
std::vector<std::wstring> ReadDirectly(const wchar_t* className, const wchar_t* property) {
    std::vector<std::wstring> values;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    IWbemLocator* locator = nullptr;
    IWbemServices* services = nullptr;
    IEnumWbemClassObject* instances = nullptr;
    BSTR space = SysAllocString(L"ROOT\\CIMV2");
    BSTR language = SysAllocString(L"WQL");
    BSTR query = SysAllocString((std::wstring(L"SELECT * FROM ") + className).c_str());
    if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                   reinterpret_cast<void**>(&locator))) &&
        SUCCEEDED(locator->ConnectServer(space, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &services)) &&
        SUCCEEDED(services->ExecQuery(language, query, WBEM_FLAG_FORWARD_ONLY, nullptr, &instances))) {
        IWbemClassObject* instance = nullptr;
        ULONG returned = 0;
        while (SUCCEEDED(instances->Next(WBEM_INFINITE, 1, &instance, &returned)) && returned == 1) {
            VARIANT value;
            VariantInit(&value);
            if (SUCCEEDED(instance->Get(property, 0, &value, nullptr, nullptr)) && value.vt == VT_BSTR)
                values.emplace_back(value.bstrVal);
            VariantClear(&value);
            instance->Release();
        }
    }
    if (instances != nullptr) instances->Release();
    if (services != nullptr) services->Release();
    if (locator != nullptr) locator->Release();
    SysFreeString(query);
    SysFreeString(language);
    SysFreeString(space);
    CoUninitialize();
    return values;
}

TEST(DeviceInfoTest, ProcessorAndMemoryAreWhatWmiSays) {
    DeviceInfoHelper& info = *DeviceInfoHelper::GetInstance();
    const auto processors = ReadDirectly(L"Win32_Processor", L"Name");
    ASSERT_FALSE(processors.empty());
    EXPECT_EQ(info.GetProcessorName(), processors.front());
    unsigned long long memory = 0;
    for (const auto& capacity : ReadDirectly(L"Win32_PhysicalMemory", L"Capacity")) memory += std::stoull(capacity);
    EXPECT_GT(memory, 0u);
    EXPECT_EQ(info.GetInstalledRAM(), memory);
}

TEST(WmiAccessorTest, StatusesOfTheRealWmi) {
    WmiAccessor wmi("Qv::WindowsTests::WmiAccessorTest");
    Json::Document answer;
    answer.SetObject();
    EXPECT_EQ(wmi.GetPropertyValue(L"Name", L"Win32_Processor", nullptr, L"ROOT\\NOWHERE", false, answer), 0x20000012);
    EXPECT_EQ(Json::Serialize(answer), L"{}");
    EXPECT_EQ(wmi.GetPropertyValue(L"Name", L"Win32_Processor", nullptr, L"ROOT\\CIMV2", false, answer), 0);
    EXPECT_TRUE(answer.HasMember(L"result") && answer[L"result"].IsString());
    answer.SetObject();
    EXPECT_EQ(wmi.GetPropertyValue(L"NoSuchProperty", L"Win32_Processor", nullptr, L"ROOT\\CIMV2", false, answer),
              0x2000000d);
    EXPECT_EQ(wmi.GetPropertyValue(L"Name", L"Win32_Processor", L"Name = = 'x'", L"ROOT\\CIMV2", false, answer),
              0x20000010);
}

class PlatformServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(ServiceDll::Get().Module(), nullptr);
        service = std::make_unique<Abi::HostService>(ServiceDll::Get().Create());
    }
    std::pair<int, std::wstring> Call(unsigned number, std::wstring input = L"{}") {
        wchar_t* output = nullptr;
        const int status = service->ExecuteCommand(nullptr, number, input.data(), &output);
        std::wstring text = output != nullptr ? output : L"";
        service->ReleaseOutput(output);
        return {status, text};
    }
    std::unique_ptr<Abi::HostService> service;
};

TEST_F(PlatformServiceTest, WithoutTheMakersFirmwareAndTheOverlayFunctions) {
    // Wine has neither the firmware's WMI classes nor the power-mode overlay functions.
    EXPECT_EQ(Call(131), std::make_pair(0, std::wstring(L"{\"result\":false}")));
    EXPECT_EQ(Call(132), std::make_pair(0, std::wstring(L"{\"result\":-1}")));
    EXPECT_EQ(Call(133, L"{\"IValue\":4}"), std::make_pair(0, std::wstring(L"{\"result\":false}")));
    EXPECT_NE(ServiceDll::Get().LogText().find("SystemHelper.ExecuteCommand - failed on function "
                                               "IWbemServices->GetObject(InputDataBlock) with HRESULT 0x80041002"),
              std::string::npos);
    EXPECT_EQ(Call(101), std::make_pair(0, std::wstring(L"{\"result\":false}")));
    EXPECT_EQ(Call(102), std::make_pair(0x20000004, std::wstring(L"{}")));
    EXPECT_EQ(Call(103, L"{\"IValue\":1}"), std::make_pair(0, std::wstring(L"{\"result\":false}")));
    EXPECT_EQ(Call(103, L"{\"IValue\":3}"), std::make_pair(0x20000006, std::wstring(L"{}")));
}

}  // namespace
}  // namespace Qv::WindowsTests
