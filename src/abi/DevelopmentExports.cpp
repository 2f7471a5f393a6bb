// Exports for devicectl: the command table, and what the module sees of the machine.
#include <cstring>
#include <vector>

#include "core/json.h"
#include "areas/device-info/DeviceInfoHelper.h"
#include "qv/QVServiceAbi.h"
#include "service/CommandTable.h"

using Qv::Bridge::Server::Services::DeviceControl::CommandTable;
using Qv::Bridge::Server::Services::DeviceControl::DeviceInfoHelper;
using Qv::Bridge::Server::Services::DeviceControl::FormName;

extern "C" QV_API const QVCommandInfo* QVDescribeCommands(unsigned int* count) {
    static const std::vector<QVCommandInfo> rows = [] {
        std::vector<QVCommandInfo> out;
        for (const auto& row : CommandTable::Standard().Rows())
            out.push_back({row.number, row.name, FormName(row.form), row.Live() ? 1 : 0});
        return out;
    }();
    if (count != nullptr) *count = static_cast<unsigned int>(rows.size());
    return rows.data();
}

extern "C" QV_API unsigned int QVDescribeDevice(wchar_t* buffer, unsigned int capacity) {
    DeviceInfoHelper& device = *DeviceInfoHelper::GetInstance();
    Qv::Json::Document summary;
    auto& allocator = summary.GetAllocator();
    summary.SetObject();
    const auto add = [&](const wchar_t* key, const std::wstring& value) {
        summary.AddMember(Qv::Json::Value(key, allocator),
                          Qv::Json::Value(value.c_str(), static_cast<rapidjson::SizeType>(value.size()), allocator),
                          allocator);
    };
    add(L"hostName", device.GetHostname());
    add(L"processor", device.GetProcessorName());
    add(L"productName", device.GetProductName());
    add(L"productNumber", device.GetProductNumber());
    add(L"serialNumber", device.GetSerialNumber());
    summary.AddMember(L"installedMemory", static_cast<uint64_t>(device.GetInstalledRAM()), allocator);
    const std::wstring text = Qv::Json::Serialize(summary);
    const auto needed = static_cast<unsigned int>(text.size() + 1);
    if (buffer != nullptr && capacity >= needed) std::wmemcpy(buffer, text.c_str(), needed);
    return needed;
}
