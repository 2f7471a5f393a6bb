#include "areas/device-info/DeviceInfoHelper.h"

#include <exception>
#include <string>

#include "core/json.h"
#include "core/logging.h"
#include "core/status.h"
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
    Json::Document answer(nullptr, Json::kParseStackBytes);
    answer.SetObject();
    if (Wmi().GetPropertyValue(property, className, nullptr, kNamespace, false, answer) != Status::kSuccess) return {};
    const Json::Value* result = Json::FindMember(answer, L"result");
    if (result == nullptr || !result->IsString()) return {};
    return std::wstring(result->GetString(), result->GetStringLength());
}

std::wstring DeviceInfoHelper::GetHostname() { return ReadString(L"Win32_ComputerSystem", L"DNSHostName"); }
std::wstring DeviceInfoHelper::GetProcessorName() { return ReadString(L"Win32_Processor", L"Name"); }
std::wstring DeviceInfoHelper::GetProductName() { return ReadString(L"Win32_ComputerSystem", L"Model"); }
std::wstring DeviceInfoHelper::GetProductNumber() { return ReadString(L"Win32_ComputerSystem", L"SystemSKUNumber"); }
std::wstring DeviceInfoHelper::GetSerialNumber() { return ReadString(L"Win32_BIOS", L"SerialNumber"); }

unsigned long long DeviceInfoHelper::GetInstalledRAM() const {
    auto* logger = Logging::LogManager::GetLogger();
    Json::Document answer(nullptr, Json::kParseStackBytes);
    answer.SetObject();
    const int status = Wmi().GetPropertyValue(L"Capacity", L"Win32_PhysicalMemory", nullptr, kNamespace, true, answer);
    const Json::Value* result = Json::FindMember(answer, L"result");
    if (status != Status::kSuccess || result == nullptr || !result->IsArray()) {
        logger->LogError(L"DeviceInfoHelper::QueryPhysicalMemoryCapacitySum - Failed to query physical memory capacity");
        return 0;
    }
    // WMI gives 64-bit integers as decimal strings. A module whose capacity is not a number is
    // logged and left out; the others still count.
    unsigned long long sum = 0;
    for (const Json::Value& entry : result->GetArray()) {
        if (!entry.IsString()) continue;
        const std::wstring text(entry.GetString(), entry.GetStringLength());
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
