#pragma once
// Reads one property of a WMI class into a JSON answer: the layer that device information, the
// firmware's feature string and the device-eligibility check share.
#include <optional>
#include <string>
#include <vector>

#include "core/json.h"
#include "platform/IWmi.h"
#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class WmiAccessor {
public:
    // `owner` is the qualified name of the class that reads: the first "%S" of every message.
    explicit WmiAccessor(std::string owner);
    WmiAccessor(platform::Platform& platform, std::string owner);

    // Adds "result" to `response`: the value of the instance read, or with `asArray` an array with
    // one entry per instance. Answers 0; 0x20000002 when nothing was read; 0x2000000d no such
    // property, 0x2000000f no such class, 0x20000010 an invalid query, 0x20000012 no such
    // namespace. Every failed call is logged as a warning. `condition` may be null.
    int GetPropertyValue(const wchar_t* propertyName, const wchar_t* className, const wchar_t* condition,
                         const wchar_t* wmiNamespace, bool asArray, Json::Document& response);

    // The same read for the module's own callers, without a JSON document in between: a value per
    // instance read, or the status above when there is none. Failures are logged the same way.
    platform::Result<std::vector<platform::WmiValue>> ReadValues(const wchar_t* propertyName, const wchar_t* className,
                                                                 const wchar_t* condition, const wchar_t* wmiNamespace);
    // The first instance's value when it is a string; nothing otherwise.
    std::optional<std::wstring> ReadString(const wchar_t* propertyName, const wchar_t* className,
                                           const wchar_t* condition, const wchar_t* wmiNamespace);

private:
    platform::Platform* platform_;  // null: the installed platform at each call
    std::string owner_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
