#include "platform/sim/SimWmi.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kInvalidNamespace = static_cast<int32_t>(0x8004100E);
constexpr int32_t kInvalidClass = static_cast<int32_t>(0x80041010);
constexpr int32_t kNotFound = static_cast<int32_t>(0x80041002);

// The conditions the module writes: Name="value".
bool Matches(const SimWmi::Instance& instance, const std::wstring& condition) {
    if (condition.empty()) return true;
    const size_t equals = condition.find(L'=');
    if (equals == std::wstring::npos) return false;
    const std::wstring name = condition.substr(0, equals);
    std::wstring value = condition.substr(equals + 1);
    if (value.size() >= 2 && value.front() == L'"' && value.back() == L'"') value = value.substr(1, value.size() - 2);
    auto it = instance.find(name);
    return it != instance.end() && std::holds_alternative<std::wstring>(it->second) &&
           std::get<std::wstring>(it->second) == value;
}

}  // namespace

SimWmi::SimWmi() {
    // The simulated laptop.
    const std::wstring cimv2 = L"ROOT\\CIMV2";
    SetInstances(cimv2, L"Win32_ComputerSystem",
                 {{{L"DNSHostName", std::wstring(L"LUMEN-14")},
                   {L"Model", std::wstring(L"QV Lumen 14")},
                   {L"SystemSKUNumber", std::wstring(L"QVL14-2025")}}});
    SetInstances(cimv2, L"Win32_Processor", {{{L"Name", std::wstring(L"Simulated 8-Core Processor @ 3.2 GHz")}}});
    SetInstances(cimv2, L"Win32_BIOS", {{{L"SerialNumber", std::wstring(L"SIM0042")}}});
    SetInstances(cimv2, L"Win32_PhysicalMemory",
                 {{{L"Capacity", std::wstring(L"8589934592")}}, {{L"Capacity", std::wstring(L"8589934592")}}});
    SetInstances(cimv2, L"Win32_BaseBoard", {{{L"Product", std::wstring(L"8A3F")}}});
    SetInstances(L"ROOT\\QV\\InstrumentedBIOS", L"QVBIOS_BIOSString",
                 {{{L"Name", std::wstring(L"Feature Byte")}, {L"Value", std::wstring(L"a1r4k2")}}});
}

platform::WmiPropertyRead SimWmi::ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                               const std::wstring& condition, const std::wstring& property) {
    std::lock_guard<std::mutex> lock(mutex_);
    platform::WmiPropertyRead read;
    auto space = namespaces_.find(Lower(wmiNamespace));
    if (space == namespaces_.end()) {
        read.failures.push_back({"ConnectToWmi", L"IWbemLocator->ConnectServer(WmiNamespace)", kInvalidNamespace});
        return read;
    }
    if (auto failure = failures_.find(Lower(className)); failure != failures_.end()) {
        read.failures.push_back(failure->second);
        return read;
    }
    auto instances = space->second.find(Lower(className));
    if (instances == space->second.end()) {
        read.failures.push_back({"GetPropertyValue", L"IEnumWbemClassObject->Next", kInvalidClass});
        return read;
    }
    for (const Instance& instance : instances->second) {
        if (!Matches(instance, condition)) continue;
        auto value = instance.find(property);
        if (value == instance.end()) {
            read.failures.push_back({"GetPropertyValue", L"IWbemClassObject->Get", kNotFound});
            break;
        }
        read.values.push_back(value->second);
    }
    return read;
}

void SimWmi::SetInstances(const std::wstring& wmiNamespace, const std::wstring& className,
                          std::vector<Instance> instances) {
    std::lock_guard<std::mutex> lock(mutex_);
    namespaces_[Lower(wmiNamespace)][Lower(className)] = std::move(instances);
}

void SimWmi::RemoveNamespace(const std::wstring& wmiNamespace) {
    std::lock_guard<std::mutex> lock(mutex_);
    namespaces_.erase(Lower(wmiNamespace));
}

void SimWmi::FailReads(const std::wstring& className, platform::WmiCallFailure failure) {
    std::lock_guard<std::mutex> lock(mutex_);
    failures_.insert_or_assign(Lower(className), failure);
}

}  // namespace Qv::Sim
