// devicectl: drives a service module through its interface exactly as the host does.
#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <optional>
#include <string>
#include <vector>

#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Audio.h"
#include "tools/devicectl/Display.h"
#include "tools/devicectl/Modes.h"
#include "tools/devicectl/Host.h"
#include "tools/devicectl/Info.h"
#include "tools/devicectl/Launch.h"
#include "tools/devicectl/Record.h"
#include "tools/devicectl/ServiceModule.h"
#include "tools/devicectl/Status.h"
#include "tools/devicectl/Subscribe.h"

namespace Qv::Devicectl {
namespace {

const char* const kUsage =
    "usage: devicectl [options] call <number|name> [JSON]\n"
    "       devicectl [options] script [FILE|-]\n"
    "       devicectl [options] commands\n"
    "       devicectl [options] info\n"
    "       devicectl [options] status\n"
    "       devicectl [options] record FILE\n"
    "       devicectl [options] audio\n"
    "       devicectl [options] display\n"
    "       devicectl [options] modes | mode NAME [PICKS] | restore\n"
    "       devicectl [options] launch-status [start]\n"
    "       devicectl [options] manifest check FILE <number|name> [JSON]\n"
    "       devicectl [options] subscribe <1001|1002> [--threshold N] [--for SECONDS] [--memory-load N,N,...]\n"
    "\n"
    "  call      start a session, run one command, print the answer, end the session.\n"
    "            <name> is <Area>.<Operation> (Accessory.GetMouseSpeed) or the operation alone\n"
    "            when it is unique; JSON defaults to {}.\n"
    "  script    run \"<command> [JSON]\" lines from FILE (or standard input) in one session.\n"
    "  commands  list the command table: number, name, form and whether this build has it.\n"
    "  info      what the module sees of the machine: host, processor, product, serial, memory.\n"
    "  status    every readable setting in one table: each getter of the command table, its\n"
    "            request and the module's answer (\"result\", or the status that came instead).\n"
    "  record    write a device profile (profiles/profile.schema.json) from what the module answers\n"
    "            here, to replay this machine with --profile on the simulated laptop.\n"
    "  audio     the playback and recording endpoints (* marks the default), and the mute state and\n"
    "            volume of the default ones.\n"
    "  display   brightness, HDR, the display mode, input source, schedule, colour gains and contrast.\n"
    "  modes     the experience modes of this machine and their commands; mode NAME applies one\n"
    "            (PICKS: only the commands at these positions, \"1,3\"); restore puts back what\n"
    "            the last mode changed.\n"
    "  launch-status  whether the companion application will be started on this machine, and why:\n"
    "            eligibility (feature byte, board), a real user signed in, the package installed for\n"
    "            the user, launched already; \"start\" first runs the host's start-up task on the\n"
    "            service and shows the wait it armed (ended when devicectl exits).\n"
    "  manifest check  whether the signed client manifest of FILE (a client's executable, its\n"
    "            QVManifest.xml or its folder) allows the command with these arguments, and which\n"
    "            rule decided; a manifest that is unsigned, changed, signed by another key or in a\n"
    "            folder its user can write is refused with the reason. Exit code 0 allowed, 1 not.\n"
    "  subscribe device status events (1001 battery, 1002 low memory): command 31 on one thread,\n"
    "            each event printed as it arrives; after --for SECONDS (default 10) or Ctrl-C,\n"
    "            command 32 on another thread of the same session, then 31's answer.\n"
    "            --threshold N sets \"memoryThreshold\". --memory-load (native build only) steps the\n"
    "            simulated device's memory load through the given percentages, one polling\n"
    "            round each; with it, --for defaults to 0.\n"
    "\n"
    "options:\n"
    "  --dll PATH     service module to load (default: the one installed in %ProgramFiles%\\DeviceControl,\n"
    "                 else DeviceControlService.dll beside devicectl)\n"
    "  --profile FILE the simulated laptop described by FILE (profiles/*.json): the linked\n"
    "                 simulated device natively; on Windows, for the simulated module that --dll names\n"
    "                 (DeviceControlSimulator.dll)\n"
    "  --client ID    client identifier for the session (default: devicectl)\n"
    "  --log FILE     append the module's trace lines to FILE\n"
    "  --help         this text\n"
    "\n"
    "exit code: 0 status 0, 1 any other status, 2 usage error or module not loadable.\n";

std::wstring Lower(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towlower(c); });
    return text;
}

std::optional<unsigned int> ParseNumber(const std::wstring& text) {
    if (text.empty() || text.size() > 10) return std::nullopt;
    unsigned long long value = 0;
    for (wchar_t c : text) {
        if (c < L'0' || c > L'9') return std::nullopt;
        value = value * 10 + static_cast<unsigned>(c - L'0');
    }
    if (value > 0xFFFFFFFFULL) return std::nullopt;
    return static_cast<unsigned int>(value);
}

// A number (any, so that unknown numbers reach the module), a full name, or a unique operation.
std::optional<unsigned int> ResolveCommand(const std::wstring& word, const std::vector<QVCommandInfo>& table,
                                           std::string& error) {
    if (auto number = ParseNumber(word)) return number;
    const std::wstring wanted = Lower(word);
    std::vector<const QVCommandInfo*> matches;
    for (const QVCommandInfo& row : table) {
        const std::wstring name = Lower(Core::Widen(row.name));
        if (name == wanted) return row.number;
        const size_t dot = name.find(L'.');
        if (dot != std::wstring::npos && name.compare(dot + 1, std::wstring::npos, wanted) == 0) matches.push_back(&row);
    }
    if (matches.size() == 1) return matches[0]->number;
    if (matches.empty()) {
        error = "unknown command '" + Core::Narrow(word) + "' (see: devicectl commands)";
    } else {
        error = "'" + Core::Narrow(word) + "' is ambiguous:";
        for (const QVCommandInfo* row : matches) error += std::string(" ") + row->name;
    }
    return std::nullopt;
}

// devicectl manifest check: the module's verdict on one request, and what decided it.
int CheckManifest(ServiceModule& module, const std::wstring& file, const std::wstring& word, const std::wstring& json) {
    std::string error;
    const auto number = ResolveCommand(word, module.Commands(), error);
    if (!number) return Usage(error);
    const std::wstring text = module.CheckManifest(file, *number, json);
    Json::Document answer;
    if (text.empty() || !Json::ParseRequest(answer, text.c_str()) || !answer.IsObject()) {
        PrintLine(stderr, "devicectl: the module does not check manifests");
        return kExitStatus;
    }
    const auto field = [&](const wchar_t* key) -> std::string {
        const Json::Value* value = Json::FindMember(answer, key);
        return value != nullptr && value->IsString()
                   ? Core::Narrow(std::wstring(value->GetString(), value->GetStringLength()))
                   : std::string();
    };
    const Json::Value* allowed = Json::FindMember(answer, L"allowed");
    const bool yes = allowed != nullptr && allowed->IsBool() && allowed->GetBool();
    if (const std::string problem = field(L"problem"); !problem.empty()) {
        PrintLine(stdout, "manifest:   refused: " + problem);
    } else {
        PrintLine(stdout, "manifest:   verified, signed through " + field(L"signedThrough"));
        PrintLine(stdout, std::string("verdict:    ") + (yes ? "allowed" : "refused"));
        PrintLine(stdout, "decided by: " + field(L"decidedBy"));
    }
    return yes ? kExitOk : kExitStatus;
}

int ListCommands(ServiceModule& module) {
    std::printf("%-4s %-45s %-10s %s\n", "No.", "Name", "Form", "Live");
    for (const QVCommandInfo& row : module.Commands())
        std::printf("%-4u %-45s %-10s %s\n", row.number, row.name, row.form, row.live ? "yes" : "not built");
    std::fflush(stdout);
    return kExitOk;
}

int CallCommand(ServiceModule& module, const std::wstring& word, std::wstring json, std::wstring clientId) {
    std::string error;
    const auto number = ResolveCommand(word, module.Commands(), error);
    if (!number) return Usage(error);
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    return host.Execute(*number, std::move(json)) == 0 ? kExitOk : kExitStatus;
}

// Runs "<command> [JSON]" lines (blank lines and lines starting with # are skipped) in one
// session, echoing each line before its answer.
int RunScript(ServiceModule& module, std::FILE* input, std::wstring clientId) {
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    const std::vector<QVCommandInfo> table = module.Commands();
    int exitCode = kExitOk;
    std::string line;
    for (int c = std::fgetc(input);; c = std::fgetc(input)) {
        if (c != EOF && c != '\n') {
            if (c != '\r') line += static_cast<char>(c);
            continue;
        }
        const size_t begin = line.find_first_not_of(" \t");
        if (begin != std::string::npos && line[begin] != '#') {
            const std::wstring text = Core::Widen(line.substr(begin));
            const size_t blank = text.find_first_of(L" \t");
            const std::wstring word = text.substr(0, blank);
            const size_t jsonStart = blank == std::wstring::npos ? blank : text.find_first_not_of(L" \t", blank);
            const std::wstring json = jsonStart == std::wstring::npos ? L"{}" : text.substr(jsonStart);
            PrintLine(stdout, "> " + line.substr(begin));
            std::string error;
            if (const auto number = ResolveCommand(word, table, error)) {
                if (host.Execute(*number, json) != 0) exitCode = kExitStatus;
            } else {
                PrintLine(stderr, "devicectl: " + error);
                exitCode = kExitUsage;
            }
        }
        line.clear();
        if (c == EOF) break;
    }
    return exitCode;
}

// A whole decimal number, or nullopt.
std::optional<long long> ParseInteger(const std::wstring& text) {
    if (text.empty() || text.size() > 12) return std::nullopt;
    size_t i = text[0] == L'-' ? 1 : 0;
    if (i == text.size()) return std::nullopt;
    long long value = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') return std::nullopt;
        value = value * 10 + (text[i] - L'0');
    }
    return text[0] == L'-' ? -value : value;
}

// "--memory-load 79,85,90"
std::optional<std::vector<int>> ParseLoads(const std::wstring& text) {
    std::vector<int> loads;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t comma = text.find(L',', start);
        const auto load = ParseInteger(text.substr(start, comma == std::wstring::npos ? comma : comma - start));
        if (!load || *load < 0 || *load > 100) return std::nullopt;
        loads.push_back(static_cast<int>(*load));
        if (comma == std::wstring::npos) break;
        start = comma + 1;
    }
    return loads;
}

}  // namespace

int Run(const std::vector<std::wstring>& args) {
    ModuleOptions options;
    std::wstring clientId = L"devicectl";
    SubscribeOptions subscribe;
    bool subscribeOptions = false;
    bool forGiven = false;
    std::vector<std::wstring> words;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::wstring& arg = args[i];
        const bool takesValue = arg == L"--dll" || arg == L"--client" || arg == L"--log" || arg == L"--profile" ||
                                arg == L"--threshold" ||
                                arg == L"--for" || arg == L"--memory-load";
        if (arg == L"--help" || arg == L"-h") {
            std::fputs(kUsage, stdout);
            return kExitOk;
        } else if (takesValue) {
            if (i + 1 >= args.size()) return Usage(Core::Narrow(arg) + " needs a value");
            const std::wstring& value = args[++i];
            if (arg == L"--dll") {
                options.dllPath = value;
            } else if (arg == L"--client") {
                clientId = value;
            } else if (arg == L"--log") {
                options.logFile = value;
            } else if (arg == L"--profile") {
                options.profile = value;
            } else {
                subscribeOptions = true;
                if (arg == L"--threshold") {
                    const auto threshold = ParseInteger(value);
                    if (!threshold || *threshold < -2147483648LL || *threshold > 2147483647LL)
                        return Usage("--threshold takes a whole number");
                    subscribe.threshold = static_cast<int>(*threshold);
                } else if (arg == L"--for") {
                    const auto seconds = ParseInteger(value);
                    if (!seconds || *seconds < 0) return Usage("--for takes a number of seconds");
                    subscribe.milliseconds = *seconds * 1000;
                    forGiven = true;
                } else {
                    const auto loads = ParseLoads(value);
                    if (!loads) return Usage("--memory-load takes percentages separated by commas");
                    subscribe.memoryLoads = *loads;
                }
            }
        } else if (arg.size() > 2 && arg.compare(0, 2, L"--") == 0) {
            return Usage("unknown option " + Core::Narrow(arg));
        } else {
            words.push_back(arg);
        }
    }
    if (words.empty()) {
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }

    const std::wstring& verb = words[0];
    if (verb != L"call" && verb != L"commands" && verb != L"script" && verb != L"subscribe" && verb != L"info" &&
        verb != L"status" && verb != L"record" && verb != L"audio" && verb != L"display" && verb != L"modes" && verb != L"mode" && verb != L"restore" &&
        verb != L"launch-status" && verb != L"manifest")
        return Usage("unknown command '" + Core::Narrow(verb) + "'");
    if (verb == L"manifest" && (words.size() < 4 || words.size() > 5 || words[1] != L"check"))
        return Usage("'manifest' takes: check FILE <number|name> [JSON]");
    if ((verb == L"commands" || verb == L"info" || verb == L"status" || verb == L"audio" || verb == L"display" || verb == L"modes" ||
         verb == L"restore") &&
        words.size() != 1)
        return Usage("'" + Core::Narrow(verb) + "' takes no arguments");
    if (verb == L"call" && (words.size() < 2 || words.size() > 3))
        return Usage("'call' takes a command and an optional JSON text");
    if (verb == L"mode" && (words.size() < 2 || words.size() > 3)) return Usage("'mode' takes a name and optional picks");
    if (verb == L"record" && words.size() != 2) return Usage("'record' takes the file to write");
    if (verb == L"script" && words.size() > 2) return Usage("'script' takes at most one file");
    if (verb == L"launch-status" && (words.size() > 2 || (words.size() == 2 && words[1] != L"start")))
        return Usage("'launch-status' takes nothing, or \"start\"");
    if (subscribeOptions && verb != L"subscribe")
        return Usage("--threshold, --for and --memory-load are options of 'subscribe'");
    if (verb == L"subscribe") {
        if (words.size() != 2 || (words[1] != L"1001" && words[1] != L"1002"))
            return Usage("'subscribe' takes an event id: 1001 (battery) or 1002 (low memory)");
        subscribe.eventId = words[1] == L"1001" ? 1001 : 1002;
        if (!forGiven && !subscribe.memoryLoads.empty()) subscribe.milliseconds = 0;
    }

    std::string error;
    std::unique_ptr<ServiceModule> module = LoadServiceModule(options, error);
    if (!module) {
        PrintLine(stderr, "devicectl: " + error);
        return kExitUsage;
    }
    if (verb == L"commands") return ListCommands(*module);
    if (verb == L"info") return ShowDeviceInfo(*module);
    if (verb == L"status") return ShowStatus(*module, clientId);
    if (verb == L"record") return RecordProfile(*module, clientId, words[1]);
    if (verb == L"launch-status") return ShowLaunchStatus(*module, words.size() == 2);
    if (verb == L"manifest") return CheckManifest(*module, words[2], words[3], words.size() == 5 ? words[4] : L"{}");
    if (verb == L"audio") return ShowAudio(*module, clientId);
    if (verb == L"display") return ShowDisplay(*module, clientId);
    if (verb == L"modes") return ShowModes(*module);
    if (verb == L"mode") return ApplyMode(*module, words[1], words.size() == 3 ? words[2] : L"", clientId);
    if (verb == L"restore") return RestoreModes(*module, clientId);
    if (verb == L"call") return CallCommand(*module, words[1], words.size() == 3 ? words[2] : L"{}", clientId);
    if (verb == L"subscribe") return Subscribe(*module, clientId, subscribe);

    std::FILE* input = stdin;
    if (words.size() == 2 && words[1] != L"-") {
#if defined(_WIN32)
        input = _wfopen(words[1].c_str(), L"rb");
#else
        input = std::fopen(Core::Narrow(words[1]).c_str(), "rb");
#endif
        if (input == nullptr) {
            PrintLine(stderr, "devicectl: cannot open " + Core::Narrow(words[1]));
            return kExitUsage;
        }
    }
    const int exitCode = RunScript(*module, input, clientId);
    if (input != stdin) std::fclose(input);
    return exitCode;
}

}  // namespace Qv::Devicectl
