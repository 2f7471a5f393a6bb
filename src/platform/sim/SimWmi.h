#pragma once
#include <functional>
#include <map>
#include <optional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/IWmi.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The firmware behind the simulated WMI method channel.
struct SimFirmware {
    bool present = true;         // false: the method classes do not exist (as on other makers' machines)
    uint8_t systemMode = 4;      // what command 1 reads and command 2 writes
    uint8_t featureByte = 0;     // what command 3 reads: non-zero on machines with the AI feature
    int32_t returnCode = 0;      // the firmware's answer to every command
    int replySize = -1;          // bytes of "Data" in a reply; -1: as many as asked
};

// WMI of the simulated laptop: namespaces of classes with instances, failures that tests arrange,
// and the firmware's method channel.
class SimWmi : public platform::IWmi {
public:
    using Instance = std::map<std::wstring, platform::WmiValue>;  // property name -> value

    explicit SimWmi(SimFaults& faults);

    platform::WmiConnectResult Connect(const std::wstring& wmiNamespace) override;
    platform::WmiPropertyRead ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                           const std::wstring& condition, const std::wstring& property) override;
    platform::FirmwareReply ExecuteFirmwareCommand(const platform::FirmwareRequest& request) override;

    // Replaces the instances of a class (the namespace is made when it is new).
    void SetInstances(const std::wstring& wmiNamespace, const std::wstring& className, std::vector<Instance> instances);
    void RemoveNamespace(const std::wstring& wmiNamespace);
    // Reads of this class fail at this call.
    void FailReads(const std::wstring& className, platform::WmiCallFailure failure);
    SimFirmware& Firmware() { return firmware_; }
    // Connecting to this namespace fails at `step`.
    void FailConnect(const std::wstring& wmiNamespace, platform::WmiConnectStep step, int32_t hresult);
    // A method of a class: what it does with its inputs (name -> value text) to the instances.
    using Method = std::function<platform::Result<void>(SimWmi& wmi, const std::map<std::wstring, std::wstring>& inputs)>;
    void SetMethod(const std::wstring& className, const std::wstring& method, Method body);
    // Calls made on kept connections: "<method>(<name>=<value>,...)", the most recent.
    std::vector<std::wstring> MethodCalls() const;
    // An instance's property, read or written directly (for methods and tests); the first
    // instance of the class.
    std::optional<platform::WmiValue> Property(const std::wstring& wmiNamespace, const std::wstring& className,
                                               const std::wstring& property) const;
    void SetProperty(const std::wstring& wmiNamespace, const std::wstring& className, const std::wstring& property,
                     platform::WmiValue value);
    // Runs a method as a kept connection does (recorded in MethodCalls).
    platform::Result<void> CallMethod(const std::wstring& className, const std::wstring& method,
                                      const std::vector<platform::WmiMethodArgument>& inputs);
    // Method names of the firmware commands run so far (the most recent), and their input bytes.
    std::vector<std::wstring> FirmwareMethods() const;
    std::vector<uint8_t> LastFirmwareInput() const;

    SimFaults& Faults() { return faults_; }

private:
    SimFaults& faults_;
    mutable std::mutex mutex_;
    std::map<std::wstring, std::map<std::wstring, std::vector<Instance>>> namespaces_;  // by lower-case names
    std::map<std::wstring, platform::WmiCallFailure> failures_;                         // by lower-case class
    SimFirmware firmware_;
    std::map<std::wstring, std::pair<platform::WmiConnectStep, int32_t>> connectFailures_;  // by lower-case name
    std::map<std::wstring, Method> methodBodies_;  // by "<class>.<method>", lower case
    Recent<std::wstring> methodCalls_;
    Recent<std::wstring> methods_;
    std::vector<uint8_t> lastInput_;
};

}  // namespace Qv::Sim
