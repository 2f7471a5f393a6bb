// devicectl status: every getter of the command table, asked through the slot table in one
// session, printed as a table of command, name, request and answer. The answers are the
// module's own compact JSON ("result", or the status when there is none), so that two modules
// (a laptop and its recorded profile) can be compared line by line.
#include "tools/devicectl/Status.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"

namespace Qv::Devicectl {
namespace {

struct Getter {
    unsigned int number;
    const wchar_t* request;
};

// In the order they are asked. The display-control library's settings come before the portrait
// check (76): a negative check takes them away for the rest of the service's life.
const Getter kGetters[] = {
    {13, L"{}"}, {1, L"{}"}, {2, L"{}"}, {4, L"{}"}, {5, L"{}"}, {7, L"{}"}, {8, L"{}"}, {10, L"{}"},
    {41, L"{\"dataFlow\":0}"}, {41, L"{\"dataFlow\":1}"}, {42, L"{\"dataFlow\":0}"}, {42, L"{\"dataFlow\":1}"},
    {44, L"{\"dataFlow\":0}"}, {44, L"{\"dataFlow\":1}"},
    {61, L"{}"}, {63, L"{}"}, {64, L"{}"},
    {69, L"{}"}, {70, L"{}"}, {72, L"{}"}, {74, L"{}"}, {77, L"{}"}, {76, L"{}"}, {66, L"{}"}, {67, L"{}"},
    {91, L"{}"}, {101, L"{}"}, {102, L"{}"}, {121, L"{}"}, {131, L"{}"}, {132, L"{}"},
};

// The answer as a person and a comparison read it: the "result" member's JSON, the whole object
// when it has other members, or the status that came instead.
std::string Shown(int status, const std::wstring& answer) {
    char failed[40];
    std::snprintf(failed, sizeof failed, "status 0x%08x", static_cast<unsigned>(status));
    if (answer.empty()) return failed;
    Json::Document document;
    if (!Json::ParseRequest(document, answer.c_str()) || !document.IsObject()) return Core::Narrow(answer);
    const Json::Value* result = Json::FindMember(document, L"result");
    if (result == nullptr || document.MemberCount() != 1) {
        return status == 0 ? Core::Narrow(answer) : std::string(failed) + " " + Core::Narrow(answer);
    }
    const std::string text = Core::Narrow(Json::Serialize(*result));
    return status == 0 ? text : std::string(failed) + " " + text;
}

}  // namespace

std::vector<GetterAnswer> AskEveryGetter(ServiceModule& module, HostSession& host) {
    std::map<unsigned int, std::string> names;
    for (const QVCommandInfo& row : module.Commands())
        if (row.live != 0) names[row.number] = row.name;
    std::vector<GetterAnswer> answers;
    for (const Getter& getter : kGetters) {
        if (names.count(getter.number) == 0) continue;  // not in this build
        GetterAnswer answer{getter.number, getter.request, names[getter.number], 0, {}};
        answer.status = host.Ask(getter.number, getter.request, answer.answer);
        answers.push_back(std::move(answer));
    }
    std::stable_sort(answers.begin(), answers.end(),
                     [](const GetterAnswer& a, const GetterAnswer& b) { return a.number < b.number; });
    return answers;
}

int ShowStatus(ServiceModule& module, std::wstring clientId) {
    HostSession host(module, std::move(clientId));
    if (!host.Ready()) {
        PrintLine(stderr, "devicectl: QVCreateService returned no service");
        return kExitUsage;
    }
    char header[160];
    std::snprintf(header, sizeof header, "%-4s %-36s %-16s %s", "no.", "getter", "request", "answer");
    PrintLine(stdout, header);
    for (const GetterAnswer& line : AskEveryGetter(module, host)) {
        const std::string request = line.request == L"{}" ? "" : Core::Narrow(line.request);
        char head[160];
        std::snprintf(head, sizeof head, "%-4u %-36s %-16s ", line.number, line.name.c_str(), request.c_str());
        PrintLine(stdout, head + Shown(line.status, line.answer));
    }
    return kExitOk;
}

}  // namespace Qv::Devicectl
