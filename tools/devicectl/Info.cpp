// devicectl info: what the module sees of the machine, in one summary.
#include <cstdio>

#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"
#include "tools/devicectl/Info.h"

namespace Qv::Devicectl {

int ShowDeviceInfo(ServiceModule& module) {
    const std::wstring text = module.DescribeDevice();
    Json::Document summary;
    if (text.empty() || !Json::ParseRequest(summary, text.c_str()) || !summary.IsObject()) {
        PrintLine(stderr, "devicectl: the module describes no device");
        return kExitStatus;
    }
    const auto field = [&](const wchar_t* key) -> std::string {
        const Json::Value* value = Json::FindMember(summary, key);
        if (value == nullptr || !value->IsString() || value->GetStringLength() == 0) return "(not available)";
        return Core::Narrow(std::wstring(value->GetString(), value->GetStringLength()));
    };
    const Json::Value* memory = Json::FindMember(summary, L"installedMemory");
    const unsigned long long bytes = memory != nullptr && memory->IsUint64() ? memory->GetUint64() : 0;
    char line[160];
    PrintLine(stdout, "host name:        " + field(L"hostName"));
    PrintLine(stdout, "processor:        " + field(L"processor"));
    PrintLine(stdout, "product name:     " + field(L"productName"));
    PrintLine(stdout, "product number:   " + field(L"productNumber"));
    PrintLine(stdout, "serial number:    " + field(L"serialNumber"));
    std::snprintf(line, sizeof line, "installed memory: %llu bytes (%.1f GiB)", bytes,
                  static_cast<double>(bytes) / (1024.0 * 1024.0 * 1024.0));
    PrintLine(stdout, line);
    return kExitOk;
}

}  // namespace Qv::Devicectl
