// devicectl audio: commands 41, 42 and 44 for each data flow, as a person wants to read them.
#include "tools/devicectl/Audio.h"

#include <cstdio>

#include "core/json.h"
#include "core/status.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"

namespace Qv::Devicectl {
namespace {

std::string Text(const Json::Value* value) {
    if (value == nullptr || !value->IsString()) return "";
    return Core::Narrow(std::wstring(value->GetString(), value->GetStringLength()));
}

std::string Failed(int status) {
    char line[96];
    std::snprintf(line, sizeof line, "not available (status 0x%08x %s)", static_cast<unsigned>(status),
                  Status::Meaning(status));
    return line;
}

// "result" of an answer, or null.
const Json::Value* Result(Json::Document& document, const std::wstring& answer) {
    if (answer.empty() || !Json::ParseRequest(document, answer.c_str()) || !document.IsObject()) return nullptr;
    return Json::FindMember(document, L"result");
}

bool ShowFlow(HostSession& host, int flow) {
    const std::wstring request = L"{\"dataFlow\":" + std::to_wstring(flow) + L"}";
    PrintLine(stdout, flow == 0 ? "Playback" : "Recording");
    std::wstring answer;
    Json::Document list;
    int status = host.Ask(41, request, answer);
    const Json::Value* result = status == 0 ? Result(list, answer) : nullptr;
    const Json::Value* devices =
        result != nullptr && result->IsObject()
            ? Json::FindMember(*result, flow == 0 ? L"RenderDeviceList" : L"CaptureDeviceList")
            : nullptr;
    bool ok = true;
    if (devices == nullptr || !devices->IsArray()) {
        PrintLine(stdout, "  endpoints: " + Failed(status));
        ok = false;
    } else if (devices->Empty()) {
        PrintLine(stdout, "  no endpoints");
    } else {
        for (const Json::Value& device : devices->GetArray()) {
            const Json::Value* isDefault = Json::FindMember(device, L"isDefaultDevice");
            const bool marked = isDefault != nullptr && isDefault->IsTrue();
            PrintLine(stdout, std::string(marked ? "  * " : "    ") + Text(Json::FindMember(device, L"name")) +
                                  (marked ? "  (default)" : ""));
            PrintLine(stdout, "      " + Text(Json::FindMember(device, L"sEndpointId")));
        }
    }
    Json::Document muteAnswer;
    status = host.Ask(42, request, answer);
    const Json::Value* muted = status == 0 ? Result(muteAnswer, answer) : nullptr;
    std::string line = "  default endpoint: ";
    line += muted != nullptr && muted->IsBool() ? (muted->IsTrue() ? "muted" : "not muted") : "mute " + Failed(status);
    Json::Document volumeAnswer;
    status = host.Ask(44, request, answer);
    const Json::Value* volume = status == 0 ? Result(volumeAnswer, answer) : nullptr;
    if (volume != nullptr && volume->IsInt() && volume->GetInt() >= 0)
        line += ", volume " + std::to_string(volume->GetInt()) + "%";
    else
        line += ", volume not available";
    PrintLine(stdout, line);
    return ok;
}

}  // namespace

int ShowAudio(ServiceModule& module, std::wstring clientId) {
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    const bool playback = ShowFlow(host, 0);
    const bool recording = ShowFlow(host, 1);
    return playback && recording ? kExitOk : kExitStatus;
}

}  // namespace Qv::Devicectl
