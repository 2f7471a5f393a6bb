// devicectl modes, mode and restore: the experience modes as a person wants to use them.
#include "tools/devicectl/Modes.h"

#include <map>

#include "abi/HostView.h"
#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"

namespace Qv::Devicectl {
namespace {

// What each command code sets.
const char* Setting(unsigned code) {
    static const std::map<unsigned, const char*> settings{
        {1, "mouse pointer speed"},      {2, "mouse buttons swapped"},      {3, "speaker volume"},
        {4, "speaker mute"},             {5, "microphone volume"},          {6, "microphone mute"},
        {7, "noise control, playback"},  {8, "noise control, recording"},   {9, "camera on"},
        {10, "camera zoom"},             {11, "camera background blur"},    {12, "camera automatic framing"},
        {13, "HDR"},                     {14, "display brightness"},        {16, "display mode"},
        {20, "notification toasts"},     {43, "power mode"}};
    auto found = settings.find(code);
    return found == settings.end() ? "unknown setting" : found->second;
}

std::string Text(const Json::Value* value) {
    if (value == nullptr || !value->IsString()) return "";
    return Core::Narrow(std::wstring(value->GetString(), value->GetStringLength()));
}

int Int(const Json::Value* value) { return value != nullptr && value->IsInt() ? value->GetInt() : -1; }

}  // namespace

int ShowModes(ServiceModule& module) {
    // The modes are built by a service, as the host has one.
    Abi::HostService service(module.CreateService());
    if (!service) {
        PrintLine(stderr, "devicectl: the module made no service");
        return kExitStatus;
    }
    const std::wstring text = module.DescribeModes(service.Object());
    Json::Document modes;
    if (text.empty() || !Json::ParseRequest(modes, text.c_str()) || !modes.IsArray()) {
        PrintLine(stderr, "devicectl: the module describes no experience modes");
        return kExitStatus;
    }
    for (const Json::Value& mode : modes.GetArray()) {
        PrintLine(stdout, Text(Json::FindMember(mode, L"ModeName")));
        const Json::Value* commands = Json::FindMember(mode, L"Commands");
        if (commands == nullptr || !commands->IsArray()) continue;
        int position = 0;
        for (const Json::Value& command : commands->GetArray()) {
            const int code = Int(Json::FindMember(command, L"Type"));
            char line[200];
            std::snprintf(line, sizeof line, "  %d. %-26s %-24s (code %d, order %d)", ++position,
                          Setting(static_cast<unsigned>(code)), Text(Json::FindMember(command, L"Parameter")).c_str(), code,
                          Int(Json::FindMember(command, L"Order")));
            PrintLine(stdout, line);
        }
    }
    return kExitOk;
}

int ApplyMode(ServiceModule& module, const std::wstring& name, const std::wstring& picks, std::wstring clientId) {
    Json::Document request;
    auto& allocator = request.GetAllocator();
    request.SetObject();
    request.AddMember(L"ModeName", Json::Value(name.c_str(), allocator), allocator);
    Json::Value list(rapidjson::kArrayType);
    size_t start = 0;
    while (start < picks.size()) {
        const size_t comma = picks.find(L',', start);
        const std::wstring item = picks.substr(start, comma == std::wstring::npos ? comma : comma - start);
        if (item.empty() || item.size() > 9 || item.find_first_not_of(L"0123456789") != std::wstring::npos)
            return Usage("picks are positions separated by commas: 1,3");
        list.PushBack(std::stoi(item), allocator);
        if (comma == std::wstring::npos) break;
        start = comma + 1;
    }
    request.AddMember(L"UserPicks", list, allocator);
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    return host.Execute(110, Json::Serialize(request)) == 0 ? kExitOk : kExitStatus;
}

int RestoreModes(ServiceModule& module, std::wstring clientId) {
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    return host.Execute(111, L"{}") == 0 ? kExitOk : kExitStatus;
}

}  // namespace Qv::Devicectl
