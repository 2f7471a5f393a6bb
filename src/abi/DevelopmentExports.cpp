// Exports for devicectl: the command table, what the module sees of the machine, and the
// experience modes built for it.
#include <cstring>
#include <vector>

#include "core/json.h"
#include "areas/device-info/DeviceInfoHelper.h"
#include "areas/expmodes/ExpModesHelper.h"
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

namespace {

// Copies `text` with its terminator when `buffer` has room; answers the room it needs.
unsigned int CopyOut(const std::wstring& text, wchar_t* buffer, unsigned int capacity) {
    const auto needed = static_cast<unsigned int>(text.size() + 1);
    if (buffer != nullptr && capacity >= needed) std::wmemcpy(buffer, text.c_str(), needed);
    return needed;
}

}  // namespace

// The experience modes of this machine: [{"ModeName":..,"Commands":[{"Type":..,"Parameter":..,
// "ParameterKey":..,"Order":..}]}]; "[]" when they cannot be built.
extern "C" QV_API unsigned int QVDescribeModes(wchar_t* buffer, unsigned int capacity) {
    using Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper;
    Qv::Json::Document modes;
    auto& allocator = modes.GetAllocator();
    modes.SetArray();
    try {
        for (const auto& mode : ExpModesHelper::GetInstance()->ModeList()) {
            Qv::Json::Value entry(rapidjson::kObjectType);
            entry.AddMember(L"ModeName", Qv::Json::Value(mode.ModeName.c_str(), allocator), allocator);
            Qv::Json::Value commands(rapidjson::kArrayType);
            for (const auto& command : mode.Commands) {
                Qv::Json::Value item(rapidjson::kObjectType);
                item.AddMember(L"Type", command.Type, allocator);
                item.AddMember(L"Parameter", Qv::Json::Value(command.Parameter.c_str(), allocator), allocator);
                item.AddMember(L"ParameterKey", Qv::Json::Value(command.ParameterKey.c_str(), allocator), allocator);
                item.AddMember(L"Order", command.Order, allocator);
                commands.PushBack(item, allocator);
            }
            entry.AddMember(L"Commands", commands, allocator);
            modes.PushBack(entry, allocator);
        }
    } catch (...) {
        modes.SetArray();
    }
    return CopyOut(Qv::Json::Serialize(modes), buffer, capacity);
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
    return CopyOut(Qv::Json::Serialize(summary), buffer, capacity);
}
