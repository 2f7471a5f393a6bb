// devicectl: drives a service module through its interface exactly as the host does.
#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <optional>
#include <string>
#include <vector>

#include "core/status.h"
#include "core/strings.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitStatus = 1;
constexpr int kExitUsage = 2;

const char* const kUsage =
    "usage: devicectl [options] call <number|name> [JSON]\n"
    "       devicectl [options] commands\n"
    "\n"
    "  call      start a session, run one command, print the answer, end the session.\n"
    "            <name> is <Area>.<Operation> (Accessory.GetMouseSpeed) or the operation alone\n"
    "            when it is unique; JSON defaults to {}.\n"
    "  commands  list the command table: number, name, form and whether this build has it.\n"
    "\n"
    "options:\n"
    "  --dll PATH     service module to load (default: DeviceControlService.dll beside devicectl)\n"
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

int CallCommand(ServiceModule& module, unsigned int number, std::wstring json, std::wstring clientId) {
    using Qv::Bridge::Server::Services::QVService;
    QVService* service = module.CreateService();
    if (service == nullptr) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    void* session = nullptr;
    service->StartSession(clientId.data(), &session);

    wchar_t* answer = nullptr;
    const int status = service->ExecuteCommand(
        session, number, json.data(), &answer,
        [](wchar_t* message) {
            if (message != nullptr) PrintLine(stdout, "event: " + Core::Narrow(message));
        },
        nullptr);
    if (answer != nullptr) PrintLine(stdout, Core::Narrow(answer));
    service->ReleaseOutput(answer);
    if (status != 0) {
        char line[96];
        std::snprintf(line, sizeof line, "status: 0x%08x %s", static_cast<unsigned>(status),
                      Qv::Status::Meaning(status));
        PrintLine(stderr, line);
    }
    service->EndSession(&session);
    delete service;
    return status == 0 ? kExitOk : kExitStatus;
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
    if (verb != L"call" && verb != L"commands") return Usage("unknown command '" + Core::Narrow(verb) + "'");
    if (verb == L"commands" && words.size() != 1) return Usage("'commands' takes no arguments");
    if (verb == L"call" && (words.size() < 2 || words.size() > 3)) return Usage("'call' takes a command and an optional JSON text");

    std::string error;
    std::unique_ptr<ServiceModule> module = LoadServiceModule(options, error);
    if (!module) {
        PrintLine(stderr, "devicectl: " + error);
        return kExitUsage;
    }
    if (verb == L"commands") return ListCommands(*module);

    const auto number = ResolveCommand(words[1], module->Commands(), error);
    if (!number) return Usage(error);
    return CallCommand(*module, *number, words.size() == 3 ? words[2] : L"{}", clientId);
}

}  // namespace Qv::Devicectl
