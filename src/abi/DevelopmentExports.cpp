// Exports for devicectl: the command table, what the module sees of the machine, and the
// experience modes built for it.
#include <cstring>
#include <vector>

#include "abi/ServiceBoundary.h"
#include "areas/companion-launch/CompanionLaunch.h"
#include "core/json.h"
#include "core/strings.h"
#include "service/DeviceControlService.h"
#include "areas/device-info/DeviceInfoHelper.h"
#include "areas/expmodes/ExpModesHelper.h"
#include "manifest/ClientManifest.h"
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

// The experience modes `service` built for this machine: [{"ModeName":..,"Commands":[{"Type":..,
// "Parameter":..,"ParameterKey":..,"Order":..}]}]; "[]" when they cannot be built, and without a
// live service (the modes live as long as the services do: none is made outside one).
extern "C" QV_API unsigned int QVDescribeModes(QVServiceObject* service, wchar_t* buffer, unsigned int capacity) {
    using Qv::Bridge::Server::Services::DeviceControl::ExpModesHelper;
    Qv::Json::Document modes;
    auto& allocator = modes.GetAllocator();
    modes.SetArray();
    try {
        const std::shared_ptr<ExpModesHelper> helper =
            Qv::Abi::ServiceOf(service) != nullptr ? ExpModesHelper::GetInstance() : nullptr;
        for (const auto& mode : helper ? helper->ModeList() : std::vector<Qv::Bridge::Server::Services::DeviceControl::ExpMode>{}) {
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

// Why the companion application will or will not be started: every check of the launch, and
// the wait of `service` (an object from QVCreateService) when it has armed one. Nothing is armed.
extern "C" QV_API unsigned int QVDescribeLaunch(QVServiceObject* service, wchar_t* buffer, unsigned int capacity) {
    using namespace Qv::Bridge::Server::Services::DeviceControl;
    LaunchStatus status;
    auto* running = Qv::Abi::ServiceOf(service);
    CompanionLaunch* launch = running != nullptr ? running->FindAreaState<CompanionLaunch>() : nullptr;
    if (launch != nullptr) {
        status = launch->Describe();
    } else {
        CompanionLaunch probe(Qv::platform::Current());
        status = probe.Describe();
    }
    Qv::Json::Document answer;
    auto& allocator = answer.GetAllocator();
    answer.SetObject();
    const auto text = [&](const wchar_t* key, const std::wstring& value) {
        answer.AddMember(Qv::Json::Value(key, allocator), Qv::Json::Value(value.c_str(), allocator), allocator);
    };
    answer.AddMember(L"featureByte", status.featureByte, allocator);
    text(L"board", status.board);
    answer.AddMember(L"boardListed", status.boardListed, allocator);
    answer.AddMember(L"eligible", status.eligible, allocator);
    answer.AddMember(L"realUserSession", status.realUserSession, allocator);
    text(L"package", status.package);
    answer.AddMember(L"launchedAlready", status.launchedAlready, allocator);
    answer.AddMember(L"launchStarted", status.launchStarted, allocator);
    text(L"wait", Qv::Core::Widen(status.phase));
    answer.AddMember(L"remainingSeconds", static_cast<uint64_t>(status.remainingMilliseconds / 1000), allocator);
    text(L"verdict", Qv::Core::Widen(status.verdict));
    return CopyOut(Qv::Json::Serialize(answer), buffer, capacity);
}

// The signed client manifest of `client` (an executable, its QVManifest.xml or its folder) asked
// about one request: {"allowed":..,"decidedBy":..,"manifest":..,"signedThrough":..}, or
// {"allowed":false,"problem":..} when no verified manifest could be loaded.
extern "C" QV_API unsigned int QVCheckManifest(const wchar_t* client, unsigned int command, const wchar_t* arguments,
                                               wchar_t* buffer, unsigned int capacity) {
    Qv::Json::Document answer;
    auto& allocator = answer.GetAllocator();
    answer.SetObject();
    try {
        std::wstring problem;
        const auto manifest = Qv::Manifest::ClientManifest::Load(Qv::platform::Current(),
                                                                 client != nullptr ? client : L"", problem);
        if (!manifest) {
            answer.AddMember(L"allowed", false, allocator);
            answer.AddMember(L"problem", Qv::Json::Value(problem.c_str(), allocator), allocator);
        } else {
            const auto verdict = manifest->Allows(command, arguments != nullptr ? arguments : L"{}");
            answer.AddMember(L"allowed", verdict.allowed, allocator);
            answer.AddMember(L"decidedBy", Qv::Json::Value(verdict.decidedBy.c_str(), allocator), allocator);
            answer.AddMember(L"signedThrough", Qv::Json::Value(manifest->SignedThrough().c_str(), allocator), allocator);
        }
    } catch (const std::exception&) {
        answer.SetObject();
        answer.AddMember(L"allowed", false, allocator);
        answer.AddMember(L"problem", L"the check failed", allocator);
    }
    return CopyOut(Qv::Json::Serialize(answer), buffer, capacity);
}
