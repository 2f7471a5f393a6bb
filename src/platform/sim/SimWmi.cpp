#include "platform/sim/SimWmi.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kInvalidNamespace = static_cast<int32_t>(0x8004100E);
constexpr int32_t kInvalidClass = static_cast<int32_t>(0x80041010);
constexpr int32_t kNotFound = static_cast<int32_t>(0x80041002);
constexpr int32_t kInvalidParameter = static_cast<int32_t>(0x80041008);
constexpr int32_t kInvalidQuery = static_cast<int32_t>(0x80041017);
constexpr int32_t kInvalidMethod = static_cast<int32_t>(0x80041055);
constexpr int32_t kTypeMismatch = static_cast<int32_t>(0x80041005);

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

SimWmi::SimWmi(SimFaults& faults) : faults_(faults) {
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
    // The built-in panel's brightness, and the method that sets it (levels 0 to 100).
    const std::wstring wmi = L"ROOT\\WMI";
    const std::wstring panel = L"DISPLAY\\SIM0001\\4&1a2b3c4d&0&UID8388688_0";
    SetInstances(wmi, L"WmiMonitorBrightness",
                 {{{L"InstanceName", panel}, {L"CurrentBrightness", int32_t{60}}, {L"Active", true}}});
    SetInstances(wmi, L"WmiMonitorBrightnessMethods",
                 {{{L"InstanceName", panel},
                   {L"__PATH", std::wstring(L"\\\\LUMEN-14\\root\\wmi:WmiMonitorBrightnessMethods.InstanceName=\"") + panel +
                                   L"\""}}});
    SetMethod(L"WmiMonitorBrightnessMethods", L"WmiSetBrightness",
              [](SimWmi& wmi, const std::map<std::wstring, std::wstring>& inputs) -> platform::Result<void> {
                  auto level = inputs.find(L"Brightness");
                  if (level == inputs.end()) return platform::Failure{kInvalidParameter};
                  int value = 0;
                  try {
                      value = std::stoi(level->second);
                  } catch (const std::exception&) {
                      return platform::Failure{kInvalidParameter};
                  }
                  if (value < 0 || value > 100) return platform::Failure{kInvalidParameter};
                  wmi.SetProperty(L"ROOT\\WMI", L"WmiMonitorBrightness", L"CurrentBrightness", int32_t{value});
                  return platform::Success();
              });
}

platform::WmiPropertyRead SimWmi::ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                               const std::wstring& condition, const std::wstring& property) {
    platform::WmiPropertyRead read;
    if (const auto fault = faults_.Enter(SimPort::Wmi)) {
        read.failures.push_back({"ConnectToWmi", L"IWbemLocator->ConnectServer(WmiNamespace)", *fault});
        return read;
    }
    std::lock_guard<std::mutex> lock(mutex_);
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

namespace {

// "Select * from <class>": the class, or empty for any other query.
std::wstring QueriedClass(const std::wstring& query) {
    const std::wstring prefix = L"select * from ";
    if (query.size() <= prefix.size() || Lower(query.substr(0, prefix.size())) != prefix) return L"";
    return query.substr(prefix.size());
}

}  // namespace

// A kept connection of the simulated WMI: reads and calls through the WMI that made it.
class SimKeptConnection final : public platform::IWmiConnection {
public:
    SimKeptConnection(SimWmi& wmi, std::wstring wmiNamespace) : wmi_(wmi), namespace_(std::move(wmiNamespace)) {}

    platform::Result<int32_t> FirstInteger(const std::wstring& query, const std::wstring& property) override {
        QV_SIM_FAULT(wmi_.Faults(), Wmi);
        const std::wstring className = QueriedClass(query);
        if (className.empty()) return platform::Failure{kInvalidQuery};
        const auto value = wmi_.Property(namespace_, className, property);
        if (!value) return platform::Failure{kNotFound};
        if (!std::holds_alternative<int32_t>(*value)) return platform::Failure{kTypeMismatch};
        return std::get<int32_t>(*value);
    }

    platform::Result<void> ExecMethodOnFirst(const std::wstring& query, const std::wstring& className,
                                             const std::wstring& method,
                                             const std::vector<platform::WmiMethodArgument>& inputs) override {
        QV_SIM_FAULT(wmi_.Faults(), Wmi);
        const std::wstring queried = QueriedClass(query);
        if (queried.empty()) return platform::Failure{kInvalidQuery};
        if (!wmi_.Property(namespace_, queried, L"__PATH")) return platform::Failure{kNotFound};
        return wmi_.CallMethod(className, method, inputs);
    }

private:
    SimWmi& wmi_;
    std::wstring namespace_;
};

platform::WmiConnectResult SimWmi::Connect(const std::wstring& wmiNamespace) {
    platform::WmiConnectResult result;
    if (const auto fault = faults_.Enter(SimPort::Wmi)) {
        result.failedStep = platform::WmiConnectStep::ConnectServer;
        result.hresult = *fault;
        return result;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (auto failure = connectFailures_.find(Lower(wmiNamespace)); failure != connectFailures_.end()) {
        result.failedStep = failure->second.first;
        result.hresult = failure->second.second;
        return result;
    }
    if (namespaces_.count(Lower(wmiNamespace)) == 0) {
        result.failedStep = platform::WmiConnectStep::ConnectServer;
        result.hresult = kInvalidNamespace;
        return result;
    }
    result.connection = std::make_unique<SimKeptConnection>(*this, wmiNamespace);
    return result;
}

platform::Result<void> SimWmi::CallMethod(const std::wstring& className, const std::wstring& method,
                                          const std::vector<platform::WmiMethodArgument>& inputs) {
    Method body;
    std::map<std::wstring, std::wstring> values;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::wstring call = method + L"(";
        for (const auto& input : inputs) {
            call += (values.empty() ? L"" : L",") + input.name + L"=" + input.value + L":" + std::to_wstring(input.cimType);
            values[input.name] = input.value;
        }
        methodCalls_.Add(call + L")");
        auto found = methodBodies_.find(Lower(className + L"." + method));
        if (found == methodBodies_.end()) return platform::Failure{kInvalidMethod};
        body = found->second;
    }
    return body(*this, values);
}

void SimWmi::FailConnect(const std::wstring& wmiNamespace, platform::WmiConnectStep step, int32_t hresult) {
    std::lock_guard<std::mutex> lock(mutex_);
    connectFailures_[Lower(wmiNamespace)] = {step, hresult};
}

void SimWmi::SetMethod(const std::wstring& className, const std::wstring& method, Method body) {
    std::lock_guard<std::mutex> lock(mutex_);
    methodBodies_[Lower(className + L"." + method)] = std::move(body);
}

std::vector<std::wstring> SimWmi::MethodCalls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return methodCalls_.Items();
}

std::optional<platform::WmiValue> SimWmi::Property(const std::wstring& wmiNamespace, const std::wstring& className,
                                                   const std::wstring& property) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto space = namespaces_.find(Lower(wmiNamespace));
    if (space == namespaces_.end()) return std::nullopt;
    auto instances = space->second.find(Lower(className));
    if (instances == space->second.end() || instances->second.empty()) return std::nullopt;
    auto value = instances->second.front().find(property);
    if (value == instances->second.front().end()) return std::nullopt;
    return value->second;
}

void SimWmi::SetProperty(const std::wstring& wmiNamespace, const std::wstring& className, const std::wstring& property,
                         platform::WmiValue value) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto& instances = namespaces_[Lower(wmiNamespace)][Lower(className)];
    if (instances.empty()) instances.emplace_back();
    instances.front()[property] = std::move(value);
}

}  // namespace Qv::Sim
