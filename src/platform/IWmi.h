#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Result.h"

namespace Qv::platform {

// One property value as WMI gives it, in the types the module keeps: 32-bit integers, strings,
// booleans and arrays of them (byte arrays become integer arrays).
using WmiValue = std::variant<int32_t, std::wstring, bool, std::vector<int32_t>, std::vector<std::wstring>,
                              std::vector<bool>>;

// A COM or WMI call that failed: which step of which operation, and its HRESULT.
struct WmiCallFailure {
    const char* operation;  // "ConnectToWmi", "EnumClassObject", "GetPropertyValue", "GetReady", ...
    const wchar_t* call;    // "IWbemLocator->ConnectServer(WmiNamespace)", ...
    int32_t hresult;
};

// What a property read gave: a value per instance read (instances without a value of a kept type
// give none), and every call that failed on the way, in order. A failure of an initialisation step
// ends the read; a tolerated one does not (the read goes on).
struct WmiPropertyRead {
    std::vector<WmiValue> values;
    std::vector<WmiCallFailure> failures;
};

// One command to the firmware's WMI method channel.
struct FirmwareRequest {
    std::wstring methodName;    // "qvkBIOSInt" + the output size
    std::vector<uint8_t> sign;  // the input block's signature bytes
    int32_t command = 0;
    int32_t commandType = 0;
    std::vector<uint8_t> data;  // the input bytes ("Size" is their count)
    uint32_t outputSize = 0;    // output bytes asked for; 0: "Data" is not read
};

struct FirmwareReply {
    std::optional<WmiCallFailure> failure;  // the call that ended the command
    int32_t returnCode = 0;                 // "rwReturnCode", when the method ran
    bool hasData = false;                   // "Data" was an array
    std::vector<uint8_t> data;              // its bytes, however many came back
};

// An input argument of a WMI method: its value as text, put with its CIM type (CIM_UINT8, ...).
struct WmiMethodArgument {
    std::wstring name;
    std::wstring value;
    int32_t cimType = 0;
};

// A connection kept to one namespace, made once and used from any thread.
class IWmiConnection {
public:
    virtual ~IWmiConnection() = default;
    // `property` of the first object that the WQL `query` answers, as an integer; a failure when
    // the query fails or answers nothing.
    virtual Result<int32_t> FirstInteger(const std::wstring& query, const std::wstring& property) = 0;
    // Calls `method` on the path (__PATH) of the first object that `query` answers, with input
    // parameters spawned from the method's input signature in `className`. No output is read.
    virtual Result<void> ExecMethodOnFirst(const std::wstring& query, const std::wstring& className,
                                           const std::wstring& method, const std::vector<WmiMethodArgument>& inputs) = 0;
};

// The steps of making a kept connection, for saying which one failed.
enum class WmiConnectStep { ComInit, Security, Locator, ConnectServer, ProxyBlanket };

struct WmiConnectResult {
    std::unique_ptr<IWmiConnection> connection;  // null when a step failed
    WmiConnectStep failedStep = WmiConnectStep::ComInit;
    int32_t hresult = 0;
};

// WMI: single properties of classes, kept connections, and the firmware's method channel.
class IWmi {
public:
    virtual ~IWmi() = default;
    // A connection to `wmiNamespace` with the process's COM security and the proxy blanket set.
    virtual WmiConnectResult Connect(const std::wstring& wmiNamespace) = 0;
    // `property` of every instance of `className` in `wmiNamespace`; `condition` (may be empty)
    // is the query's WHERE clause.
    virtual WmiPropertyRead ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                         const std::wstring& condition, const std::wstring& property) = 0;
    virtual FirmwareReply ExecuteFirmwareCommand(const FirmwareRequest& request) = 0;
};

}  // namespace Qv::platform
