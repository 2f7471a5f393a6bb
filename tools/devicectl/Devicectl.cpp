// devicectl: drives a service module through its interface exactly as the host does.
#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <optional>
#include <string>
#include <vector>

#include "core/status.h"
#include "abi/HostView.h"
#include "core/strings.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitStatus = 1;
constexpr int kExitUsage = 2;

const char* const kUsage =
    "usage: devicectl [options] call <number|name> [JSON]\n"
    "       devicectl [options] script [FILE|-]\n"
    "       devicectl [options] commands\n"
    "\n"
    "  call      start a session, run one command, print the answer, end the session.\n"
    "            <name> is <Area>.<Operation> (Accessory.GetMouseSpeed) or the operation alone\n"
    "            when it is unique; JSON defaults to {}.\n"
    "  script    run \"<command> [JSON]\" lines from FILE (or standard input) in one session.\n"
    "  commands  list the command table: number, name, form and whether this build has it.\n"
    "\n"
    "options:\n"
    "  --dll PATH     service module to load (default: the one installed in %ProgramFiles%\\DeviceControl,\n"
    "                 else DeviceControlService.dll beside devicectl)\n"
    "  --client ID    client identifier for the session (default: devicectl)\n"
    "  --log FILE     append the module's trace lines to FILE\n"
    "  --help         this text\n"
    "\n"
    "exit code: 0 status 0, 1 any other status, 2 usage error or module not loadable.\n";

void PrintLine(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

int Usage(const std::string& message) {
    PrintLine(stderr, "devicectl: " + message + " (devicectl --help for usage)");
    return kExitUsage;
}

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

int ListCommands(ServiceModule& module) {
    std::printf("%-4s %-45s %-10s %s\n", "No.", "Name", "Form", "Live");
    for (const QVCommandInfo& row : module.Commands())
        std::printf("%-4u %-45s %-10s %s\n", row.number, row.name, row.form, row.live ? "yes" : "not built");
    std::fflush(stdout);
    return kExitOk;
}

// One service with one session, driven through the slot table as the host drives it.
class HostSession {
public:
    HostSession(ServiceModule& module, std::wstring clientId)
        : clientId_(std::move(clientId)), service_(module.CreateService()) {
        if (service_) service_.StartSession(clientId_.data(), &session_);
    }
    ~HostSession() {
        if (service_) service_.EndSession(&session_);
    }
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    bool Ready() const { return static_cast<bool>(service_); }

    // Prints the answer on stdout and a non-zero status on stderr; returns the status.
    int Execute(unsigned int number, std::wstring json) {
        wchar_t* answer = nullptr;
        const int status = service_.ExecuteCommand(session_, number, json.data(), &answer, [](wchar_t* message) {
            if (message != nullptr) PrintLine(stdout, "event: " + Core::Narrow(message));
        });
        if (answer != nullptr) PrintLine(stdout, Core::Narrow(answer));
        service_.ReleaseOutput(answer);
        if (status != 0) {
            char line[96];
            std::snprintf(line, sizeof line, "status: 0x%08x %s", static_cast<unsigned>(status),
                          Qv::Status::Meaning(status));
            PrintLine(stderr, line);
        }
        return status;
    }

private:
    std::wstring clientId_;
    Abi::HostService service_;
    void* session_ = nullptr;
};

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

}  // namespace

int Run(const std::vector<std::wstring>& args) {
    ModuleOptions options;
    std::wstring clientId = L"devicectl";
    std::vector<std::wstring> words;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::wstring& arg = args[i];
        if (arg == L"--help" || arg == L"-h") {
            std::fputs(kUsage, stdout);
            return kExitOk;
        } else if (arg == L"--dll" || arg == L"--client" || arg == L"--log") {
            if (i + 1 >= args.size()) return Usage(Core::Narrow(arg) + " needs a value");
            (arg == L"--dll" ? options.dllPath : arg == L"--client" ? clientId : options.logFile) = args[++i];
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
    if (verb != L"call" && verb != L"commands" && verb != L"script")
        return Usage("unknown command '" + Core::Narrow(verb) + "'");
    if (verb == L"commands" && words.size() != 1) return Usage("'commands' takes no arguments");
    if (verb == L"call" && (words.size() < 2 || words.size() > 3))
        return Usage("'call' takes a command and an optional JSON text");
    if (verb == L"script" && words.size() > 2) return Usage("'script' takes at most one file");

    std::string error;
    std::unique_ptr<ServiceModule> module = LoadServiceModule(options, error);
    if (!module) {
        PrintLine(stderr, "devicectl: " + error);
        return kExitUsage;
    }
    if (verb == L"commands") return ListCommands(*module);
    if (verb == L"call") return CallCommand(*module, words[1], words.size() == 3 ? words[2] : L"{}", clientId);

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
