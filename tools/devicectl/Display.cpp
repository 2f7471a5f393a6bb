// devicectl display: the display getters (61-77), as a person wants to read them.
#include "tools/devicectl/Display.h"

#include <cstdio>

#include "areas/display/ColourPresets.h"
#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"

namespace Qv::Devicectl {
namespace {

constexpr const char* kUnavailable = "not available";

// One command's "result", kept with its document.
struct Reply {
    Json::Document document;
    const Json::Value* result = nullptr;
};

void Ask(HostSession& host, unsigned int number, Reply& reply) {
    std::wstring answer;
    if (host.Ask(number, L"{}", answer) != 0 || answer.empty()) return;
    if (!Json::ParseRequest(reply.document, answer.c_str()) || !reply.document.IsObject()) return;
    reply.result = Json::FindMember(reply.document, L"result");
}

// An integer answer, "not available" for -1 or none.
std::string Number(HostSession& host, unsigned int number, const char* unit = "") {
    Reply reply;
    Ask(host, number, reply);
    if (reply.result == nullptr || !reply.result->IsInt() || reply.result->GetInt() < 0) return kUnavailable;
    return std::to_string(reply.result->GetInt()) + unit;
}

bool Flag(HostSession& host, unsigned int number) {
    Reply reply;
    Ask(host, number, reply);
    return reply.result != nullptr && reply.result->IsTrue();
}

std::string PresetName(int mode) {
    const wchar_t* name = Bridge::Server::Services::DeviceControl::ColourPresetName(mode);
    return name != nullptr ? " (" + Core::Narrow(name) + ")" : "";
}

std::string Integers(const Json::Value* list, bool presets) {
    if (list == nullptr || !list->IsArray()) return kUnavailable;
    if (list->Empty()) return "none";
    std::string text;
    for (const Json::Value& item : list->GetArray()) {
        if (!item.IsInt()) continue;
        text += (text.empty() ? "" : ", ") + std::to_string(item.GetInt()) + (presets ? PresetName(item.GetInt()) : "");
    }
    return text;
}

int Field(const Json::Value& object, const wchar_t* key) {
    const Json::Value* value = Json::FindMember(object, key);
    return value != nullptr && value->IsInt() ? value->GetInt() : -1;
}

}  // namespace

int ShowDisplay(ServiceModule& module, std::wstring clientId) {
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    PrintLine(stdout, "brightness:      " + Number(host, 61, "%"));
    PrintLine(stdout, std::string("HDR:             ") +
                          (Flag(host, 63) ? (Flag(host, 64) ? "on" : "off") : "not supported or not readable"));

    // The library's settings (their commands answer -1 or nothing without it).
    PrintLine(stdout, "input source:    " + Number(host, 70));
    Reply sources;
    Ask(host, 69, sources);
    PrintLine(stdout, "  supported:     " + Integers(sources.result, false));
    Reply schedule;
    Ask(host, 72, schedule);
    if (schedule.result != nullptr && schedule.result->IsObject() && !schedule.result->ObjectEmpty()) {
        const Json::Value& s = *schedule.result;
        const Json::Value* on = Json::FindMember(s, L"Status");
        char line[160];
        std::snprintf(line, sizeof line, "schedule:        %s, mode %d, %02d:%02d to %02d:%02d",
                      on != nullptr && on->IsTrue() ? "on" : "off", Field(s, L"Mode"), Field(s, L"StartHour"),
                      Field(s, L"StartMinute"), Field(s, L"EndHour"), Field(s, L"EndMinute"));
        PrintLine(stdout, line);
    } else {
        PrintLine(stdout, std::string("schedule:        ") + kUnavailable);
    }
    Reply gains;
    Ask(host, 74, gains);
    if (gains.result != nullptr && gains.result->IsObject() && !gains.result->ObjectEmpty()) {
        const Json::Value& g = *gains.result;
        PrintLine(stdout, "colour gains:    red " + std::to_string(Field(g, L"RedGain")) + ", green " +
                              std::to_string(Field(g, L"GreenGain")) + ", blue " + std::to_string(Field(g, L"BlueGain")));
    } else {
        PrintLine(stdout, "colour gains:    not supported or not available");
    }
    PrintLine(stdout, "contrast:        " + Number(host, 77));
    // Last: a negative portrait check takes the library's settings away for this service.
    const bool portrait = Flag(host, 76);
    if (portrait) {
        Reply mode;
        Ask(host, 67, mode);
        const int current = mode.result != nullptr && mode.result->IsInt() ? mode.result->GetInt() : -1;
        PrintLine(stdout, "display mode:    " + (current >= 0 ? std::to_string(current) + PresetName(current) : kUnavailable));
        Reply modes;
        Ask(host, 66, modes);
        PrintLine(stdout, "  supported:     " + Integers(modes.result, true));
    } else {
        PrintLine(stdout, "display mode:    the display vendor's software is not available");
    }

    return kExitOk;
}

}  // namespace Qv::Devicectl
