#include "areas/device-info/DeviceInfoHelper.h"

#include <exception>
#include <string>

#include "core/logging.h"
#include "core/strings.h"
#include "shared/wmi/WmiAccessor.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr const wchar_t* kNamespace = L"ROOT\\CIMV2";

WmiAccessor Wmi() { return WmiAccessor(Core::TypeName<DeviceInfoHelper>()); }

}  // namespace

DeviceInfoHelper* DeviceInfoHelper::GetInstance() {
    static DeviceInfoHelper instance;
    return &instance;
}

std::wstring DeviceInfoHelper::ReadString(const wchar_t* className, const wchar_t* property) const {
    return Wmi().ReadString(property, className, nullptr, kNamespace).value_or(L"");
}

std::wstring DeviceInfoHelper::GetHostname() { return ReadString(L"Win32_ComputerSystem", L"DNSHostName"); }
std::wstring DeviceInfoHelper::GetProcessorName() { return ReadString(L"Win32_Processor", L"Name"); }
std::wstring DeviceInfoHelper::GetProductName() { return ReadString(L"Win32_ComputerSystem", L"Model"); }
std::wstring DeviceInfoHelper::GetProductNumber() { return ReadString(L"Win32_ComputerSystem", L"SystemSKUNumber"); }
std::wstring DeviceInfoHelper::GetSerialNumber() { return ReadString(L"Win32_BIOS", L"SerialNumber"); }

unsigned long long DeviceInfoHelper::GetInstalledRAM() const {
    auto* logger = Logging::LogManager::GetLogger();
    const auto capacities = Wmi().ReadValues(L"Capacity", L"Win32_PhysicalMemory", nullptr, kNamespace);
    if (!capacities) {
        logger->LogError(L"DeviceInfoHelper::QueryPhysicalMemoryCapacitySum - Failed to query physical memory capacity");
        return 0;
    }
    // WMI gives 64-bit integers as decimal strings. A module whose capacity is not a number is
    // logged and left out; the others still count.
    unsigned long long sum = 0;
    for (const platform::WmiValue& entry : *capacities) {
        const auto* capacity = std::get_if<std::wstring>(&entry);
        if (capacity == nullptr) continue;
        const std::wstring& text = *capacity;
        try {
            sum += std::stoull(text, nullptr, 10);
        } catch (const std::exception&) {
            logger->LogError(L"DeviceInfoHelper::QueryPhysicalMemoryCapacitySum - Memory capacity value '%s' was not integer",
                             text.c_str());
        }
    }
    return sum;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
