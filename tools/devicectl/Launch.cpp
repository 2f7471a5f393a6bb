// devicectl launch-status: whether the companion application will be started on this machine,
// each check with what it found, and the verdict.
#include <string>

#include "abi/HostView.h"
#include "core/json.h"
#include "core/strings.h"
#include "tools/devicectl/Host.h"
#include "tools/devicectl/Launch.h"

namespace Qv::Devicectl {

int ShowLaunchStatus(ServiceModule& module, bool start) {
    Abi::HostService service(module.CreateService());
    if (!service) {
        PrintLine(stderr, "devicectl: the module made no service");
        return kExitStatus;
    }
    if (start) service.StartupTask();
    const std::wstring text = module.DescribeLaunch(service.Object());
    Json::Document status;
    if (text.empty() || !Json::ParseRequest(status, text.c_str()) || !status.IsObject()) {
        PrintLine(stderr, "devicectl: the module does not describe the companion launch");
        return kExitStatus;
    }
    const auto flag = [&](const wchar_t* key) {
        const Json::Value* value = Json::FindMember(status, key);
        return value != nullptr && value->IsBool() && value->GetBool();
    };
    const auto word = [&](const wchar_t* key) -> std::string {
        const Json::Value* value = Json::FindMember(status, key);
        if (value == nullptr || !value->IsString()) return {};
        return Core::Narrow(std::wstring(value->GetString(), value->GetStringLength()));
    };
    const auto number = [&](const wchar_t* key) -> long long {
        const Json::Value* value = Json::FindMember(status, key);
        return value != nullptr && value->IsInt64() ? value->GetInt64() : -1;
    };
    const auto yes = [](bool value) { return std::string(value ? "yes" : "no"); };

    const long long featureByte = number(L"featureByte");
    const std::string board = word(L"board");
    PrintLine(stdout, "feature byte:      " + (featureByte < 0 ? std::string("(the firmware cannot be asked)")
                                                               : std::to_string(featureByte)));
    PrintLine(stdout, "board:             " + (board.empty() ? std::string("(unknown)") : board) +
                          (flag(L"boardListed") ? " (listed)" : " (not listed)"));
    PrintLine(stdout, "eligible:          " + yes(flag(L"eligible")));
    PrintLine(stdout, "real user session: " + yes(flag(L"realUserSession")));
    const std::string package = word(L"package");
    PrintLine(stdout, "installed:         " + (package.empty() ? std::string("no") : "yes (" + package + ")"));
    PrintLine(stdout, "launched already:  " + yes(flag(L"launchedAlready")));
    std::string wait = word(L"wait");
    if (const long long seconds = number(L"remainingSeconds"); seconds > 0)
        wait += ", " + std::to_string(seconds) + " s left";
    PrintLine(stdout, "wait:              " + wait);
    PrintLine(stdout, "verdict:           " + word(L"verdict"));
    return kExitOk;
}

}  // namespace Qv::Devicectl
