// devicectl record FILE: a device profile written from what the module answers on this machine,
// so that a laptop captured once can be replayed anywhere by the simulated module. Everything
// comes through the module's interface: the getters, the device summary and the launch status.
// What no getter reads (the battery, the memory load, the audio vendor, the firmware's full
// feature string) is left out, and the replay keeps the full-featured laptop's values there.
#include "tools/devicectl/Record.h"

#include <cstdio>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"
#include "tools/devicectl/Status.h"

#include <rapidjson/prettywriter.h>

namespace Qv::Devicectl {
namespace {

class Recorder {
public:
    explicit Recorder(const std::vector<GetterAnswer>& answers) {
        for (const GetterAnswer& answer : answers) {
            auto& document = answers_[{answer.number, answer.request}];
            if (answer.status != 0 || answer.answer.empty() || !Json::ParseRequest(document, answer.answer.c_str()) ||
                !document.IsObject())
                document.SetNull();
        }
    }

    // The "result" of a getter, or null when it answered none (a failure status, no text).
    const Json::Value* Result(unsigned int number, const std::wstring& request = L"{}") const {
        auto found = answers_.find({number, request});
        if (found == answers_.end() || !found->second.IsObject()) return nullptr;
        return Json::FindMember(found->second, L"result");
    }
    std::optional<bool> Flag(unsigned int number, const std::wstring& request = L"{}") const {
        const Json::Value* value = Result(number, request);
        if (value == nullptr || !value->IsBool()) return std::nullopt;
        return value->GetBool();
    }
    // An integer answer; -1 (the getters' failure value) and none give nothing.
    std::optional<int> Number(unsigned int number, const std::wstring& request = L"{}") const {
        const Json::Value* value = Result(number, request);
        if (value == nullptr || !value->IsInt() || value->GetInt() < 0) return std::nullopt;
        return value->GetInt();
    }

private:
    std::map<std::pair<unsigned int, std::wstring>, Json::Document> answers_;
};

class Builder {
public:
    Builder() { document_.SetObject(); }
    Json::Value& Root() { return document_; }
    Json::Value Object() { return Json::Value(rapidjson::kObjectType); }
    void Put(Json::Value& object, const wchar_t* key, Json::Value value) {
        object.AddMember(Json::Value(key, document_.GetAllocator()), value, document_.GetAllocator());
    }
    void Put(Json::Value& object, const wchar_t* key, const std::wstring& text) {
        Put(object, key, Json::Value(text.c_str(), document_.GetAllocator()));
    }
    void Put(Json::Value& object, const wchar_t* key, const Json::Value& copied, bool) {
        Put(object, key, Json::Value(copied, document_.GetAllocator()));
    }
    template <class T>
    void PutIf(Json::Value& object, const wchar_t* key, const std::optional<T>& value) {
        if (value) Put(object, key, Json::Value(*value));
    }
    Json::Document& Document() { return document_; }

private:
    Json::Document document_;
};

std::wstring Text(const Json::Value& object, const wchar_t* key) {
    const Json::Value* value = Json::FindMember(object, key);
    return value != nullptr && value->IsString() ? std::wstring(value->GetString(), value->GetStringLength()) : L"";
}

void RecordMachine(Builder& out, ServiceModule& module, const Recorder& answers, const Json::Value& launch) {
    Json::Value machine = out.Object();
    Json::Document summary;
    const std::wstring described = module.DescribeDevice();
    if (!described.empty() && Json::ParseRequest(summary, described.c_str()) && summary.IsObject()) {
        for (const auto& [from, to] : {std::pair{L"hostName", L"hostName"}, std::pair{L"productName", L"productName"},
                                       std::pair{L"productNumber", L"productNumber"}, std::pair{L"processor", L"processor"},
                                       std::pair{L"serialNumber", L"serialNumber"}})
            out.Put(machine, to, Text(summary, from));
        const Json::Value* memory = Json::FindMember(summary, L"installedMemory");
        Json::Value modules(rapidjson::kArrayType);
        if (memory != nullptr && memory->IsUint64() && memory->GetUint64() > 0)
            modules.PushBack(Json::Value(memory->GetUint64()), out.Document().GetAllocator());
        out.Put(machine, L"memoryModules", std::move(modules));
    }
    if (launch.IsObject()) {
        const std::wstring board = Text(launch, L"board");
        if (!board.empty()) out.Put(machine, L"board", board);
        const Json::Value* featureByte = Json::FindMember(launch, L"featureByte");
        const bool firmware = featureByte != nullptr && featureByte->IsInt() && featureByte->GetInt() >= 0;
        out.Put(machine, L"firmwareCommands", Json::Value(firmware));
        if (firmware) out.Put(machine, L"featureByte", Json::Value(featureByte->GetInt()));
    }
    // The getters tell only whether the firmware has system modes: the one code that says so.
    if (const auto modes = answers.Flag(131)) out.Put(machine, L"featureString", std::wstring(*modes ? L"r4" : L""));
    out.Put(out.Root(), L"machine", std::move(machine));
}

void RecordCamera(Builder& out, const Recorder& answers) {
    if (!answers.Flag(13).value_or(false)) {
        out.Put(out.Root(), L"camera", Json::Value(rapidjson::kNullType));
        return;
    }
    Json::Value camera = out.Object();
    const auto control = [&](const wchar_t* supportedKey, unsigned int supported, const wchar_t* valueKey, unsigned int get,
                             bool flag) {
        const bool offered = answers.Flag(supported).value_or(false);
        out.Put(camera, supportedKey, Json::Value(offered));
        if (!offered) return;
        if (flag) out.PutIf(camera, valueKey, answers.Flag(get));
        else out.PutIf(camera, valueKey, answers.Number(get));
    };
    control(L"zoomSupported", 1, L"zoom", 2, false);
    control(L"blurSupported", 4, L"blur", 5, true);
    control(L"autoFrameSupported", 7, L"autoFrame", 8, true);
    // Brightness has no support getter: a reading says it is offered.
    const auto brightness = answers.Number(10);
    out.Put(camera, L"brightnessSupported", Json::Value(brightness.has_value()));
    out.PutIf(camera, L"brightness", brightness);
    out.Put(out.Root(), L"camera", std::move(camera));
}

void RecordAudio(Builder& out, const Recorder& answers) {
    Json::Value audio = out.Object();
    for (const auto& [flow, key, list] : {std::tuple{0, L"playback", L"RenderDeviceList"},
                                          std::tuple{1, L"recording", L"CaptureDeviceList"}}) {
        const std::wstring request = L"{\"dataFlow\":" + std::to_wstring(flow) + L"}";
        const Json::Value* result = answers.Result(41, request);
        const Json::Value* devices = result != nullptr && result->IsObject() ? Json::FindMember(*result, list) : nullptr;
        if (devices == nullptr || !devices->IsArray()) continue;
        Json::Value section = out.Object();
        Json::Value endpoints(rapidjson::kArrayType);
        Json::Value position(rapidjson::kNullType);
        for (const Json::Value& device : devices->GetArray()) {
            Json::Value endpoint = out.Object();
            out.Put(endpoint, L"id", Text(device, L"sEndpointId"));
            out.Put(endpoint, L"name", Text(device, L"name"));
            const Json::Value* isDefault = Json::FindMember(device, L"isDefaultDevice");
            if (isDefault != nullptr && isDefault->IsTrue()) {
                position.SetInt(static_cast<int>(endpoints.Size()));
                out.PutIf(endpoint, L"muted", answers.Flag(42, request));
                out.PutIf(endpoint, L"volume", answers.Number(44, request));
            }
            endpoints.PushBack(endpoint, out.Document().GetAllocator());
        }
        out.Put(section, L"endpoints", std::move(endpoints));
        out.Put(section, L"default", std::move(position));
        out.Put(audio, key, std::move(section));
    }
    out.Put(out.Root(), L"audio", std::move(audio));
}

void RecordDisplay(Builder& out, const Recorder& answers) {
    Json::Value display = out.Object();
    const auto brightness = answers.Number(61);
    out.Put(display, L"brightness", brightness ? Json::Value(*brightness) : Json::Value(rapidjson::kNullType));
    if (answers.Flag(63).value_or(false)) {
        Json::Value hdr = out.Object();
        out.PutIf(hdr, L"on", answers.Flag(64));
        out.Put(display, L"hdr", std::move(hdr));
    } else {
        out.Put(display, L"hdr", Json::Value(rapidjson::kNullType));
    }
    if (answers.Flag(76).value_or(false)) {
        Json::Value portrait = out.Object();
        // -1 is a state of its own: the display's profile is no preset's.
        if (const Json::Value* mode = answers.Result(67); mode != nullptr && mode->IsInt())
            out.Put(portrait, L"mode", Json::Value(mode->GetInt()));
        if (const Json::Value* modes = answers.Result(66); modes != nullptr && modes->IsArray())
            out.Put(portrait, L"supportedModes", *modes, true);
        out.Put(display, L"portrait", std::move(portrait));
    } else {
        out.Put(display, L"portrait", Json::Value(rapidjson::kNullType));
    }
    // The library answers its settings only when it was loaded and started.
    const Json::Value* sources = answers.Result(69);
    const auto source = answers.Number(70);
    if (sources == nullptr || !sources->IsArray() || (sources->Empty() && !source)) {
        out.Put(display, L"library", Json::Value(rapidjson::kNullType));
    } else {
        Json::Value library = out.Object();
        out.Put(library, L"inputSources", *sources, true);
        out.PutIf(library, L"inputSource", source);
        if (const Json::Value* schedule = answers.Result(72); schedule != nullptr && schedule->IsObject() && !schedule->ObjectEmpty()) {
            Json::Value recorded = out.Object();
            for (const auto& [from, to] : {std::pair{L"Status", L"on"}, std::pair{L"Mode", L"mode"},
                                           std::pair{L"StartHour", L"startHour"}, std::pair{L"StartMinute", L"startMinute"},
                                           std::pair{L"EndHour", L"endHour"}, std::pair{L"EndMinute", L"endMinute"}}) {
                const Json::Value* value = Json::FindMember(*schedule, from);
                if (value != nullptr) out.Put(recorded, to, *value, true);
            }
            out.Put(library, L"schedule", std::move(recorded));
        }
        const Json::Value* gains = answers.Result(74);
        const bool gainsSupported = gains != nullptr && gains->IsObject() && Json::FindMember(*gains, L"Supported") != nullptr;
        out.Put(library, L"gainsSupported", Json::Value(gainsSupported));
        if (gainsSupported) {
            Json::Value recorded = out.Object();
            for (const auto& [from, to] : {std::pair{L"RedGain", L"red"}, std::pair{L"GreenGain", L"green"},
                                           std::pair{L"BlueGain", L"blue"}}) {
                const Json::Value* value = Json::FindMember(*gains, from);
                if (value != nullptr) out.Put(recorded, to, *value, true);
            }
            out.Put(library, L"gains", std::move(recorded));
        }
        out.PutIf(library, L"contrast", answers.Number(77));
        out.Put(display, L"library", std::move(library));
    }
    out.Put(out.Root(), L"display", std::move(display));
}

void RecordRest(Builder& out, const Recorder& answers, const Json::Value& launch) {
    if (const auto speed = answers.Number(91); speed && *speed >= 1 && *speed <= 20) {
        Json::Value mouse = out.Object();
        out.Put(mouse, L"speed", Json::Value(*speed));
        out.Put(out.Root(), L"mouse", std::move(mouse));
    }
    Json::Value power = out.Object();
    out.PutIf(power, L"modesAvailable", answers.Flag(101));
    out.PutIf(power, L"mode", answers.Number(102));
    out.Put(out.Root(), L"power", std::move(power));
    if (const auto toasts = answers.Flag(121)) {
        Json::Value section = out.Object();
        out.Put(section, L"enabled", Json::Value(*toasts));
        out.Put(out.Root(), L"toasts", std::move(section));
    }
    if (!launch.IsObject()) return;
    // "<name>_<version>_<architecture>_<resource>_<publisher id>"; the family is name and publisher id.
    const std::wstring package = Text(launch, L"package");
    const size_t first = package.find(L'_');
    const size_t second = first == std::wstring::npos ? first : package.find(L'_', first + 1);
    const size_t last = package.rfind(L'_');
    if (package.empty() || second == std::wstring::npos || last <= second) {
        out.Put(out.Root(), L"companion", Json::Value(rapidjson::kNullType));
        return;
    }
    Json::Value companion = out.Object();
    out.Put(companion, L"familyName", package.substr(0, first) + package.substr(last));
    out.Put(companion, L"version", package.substr(first + 1, second - first - 1));
    out.Put(out.Root(), L"companion", std::move(companion));
}

}  // namespace

int RecordProfile(ServiceModule& module, std::wstring clientId, const std::wstring& path) {
    std::vector<GetterAnswer> getters;
    Json::Document launch;
    {
        HostSession host(module, std::move(clientId));
        if (!host.Ready()) {
            PrintLine(stderr, "devicectl: QVCreateService returned no service");
            return kExitUsage;
        }
        getters = AskEveryGetter(module, host);
    }
    {
        Abi::HostService service(module.CreateService());
        const std::wstring text = service ? module.DescribeLaunch(service.Object()) : L"";
        if (text.empty() || !Json::ParseRequest(launch, text.c_str())) launch.SetNull();
    }
    const Recorder answers(getters);
    Builder out;
    out.Put(out.Root(), L"$schema", std::wstring(L"./profile.schema.json"));
    Json::Document summary;
    const std::wstring described = module.DescribeDevice();
    std::wstring host = L"this machine";
    if (!described.empty() && Json::ParseRequest(summary, described.c_str()) && summary.IsObject() &&
        !Text(summary, L"hostName").empty())
        host = Text(summary, L"hostName");
    out.Put(out.Root(), L"name", L"Recorded from " + host);
    out.Put(out.Root(), L"description",
            std::wstring(L"Written by devicectl record from the module's answers. The battery, the memory load, the "
                         L"audio vendor and the firmware's full feature string are not read by any getter: the "
                         L"full-featured laptop's stand."));
    RecordMachine(out, module, answers, launch);
    RecordCamera(out, answers);
    RecordAudio(out, answers);
    RecordDisplay(out, answers);
    RecordRest(out, answers, launch);

    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer, Json::Encoding, rapidjson::UTF8<>> writer(text);
    writer.SetIndent(' ', 2);
    out.Document().Accept(writer);
#if defined(_WIN32)
    std::FILE* file = _wfopen(path.c_str(), L"wb");
#else
    std::FILE* file = std::fopen(Core::Narrow(path).c_str(), "wb");
#endif
    if (file == nullptr) {
        PrintLine(stderr, "devicectl: cannot write " + Core::Narrow(path));
        return kExitUsage;
    }
    const bool written = std::fwrite(text.GetString(), 1, text.GetSize(), file) == text.GetSize() &&
                         std::fputc('\n', file) != EOF;
    if (std::fclose(file) != 0 || !written) {
        PrintLine(stderr, "devicectl: cannot write " + Core::Narrow(path));
        return kExitUsage;
    }
    PrintLine(stdout, "recorded " + std::to_string(getters.size()) + " getters into " + Core::Narrow(path));
    return kExitOk;
}

}  // namespace Qv::Devicectl
