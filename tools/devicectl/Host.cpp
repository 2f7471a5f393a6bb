#include "tools/devicectl/Host.h"

#include <mutex>

#include "core/status.h"
#include "core/strings.h"

namespace Qv::Devicectl {

void PrintLine(std::FILE* stream, const std::string& text) {
    static std::mutex mutex;
    std::lock_guard<std::mutex> lock(mutex);
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

int Usage(const std::string& message) {
    PrintLine(stderr, "devicectl: " + message + " (devicectl --help for usage)");
    return kExitUsage;
}

HostSession::HostSession(ServiceModule& module, std::wstring clientId)
    : clientId_(std::move(clientId)), service_(module.CreateService()) {
    if (service_) service_.StartSession(clientId_.data(), &session_);
}

HostSession::~HostSession() {
    if (service_) service_.EndSession(&session_);
}

int HostSession::Execute(unsigned int number, std::wstring json, const std::string& label) {
    wchar_t* answer = nullptr;
    const int status = service_.ExecuteCommand(session_, number, json.data(), &answer, [](wchar_t* message) {
        if (message != nullptr) PrintLine(stdout, "event: " + Core::Narrow(message));
    });
    if (answer != nullptr) PrintLine(stdout, label + Core::Narrow(answer));
    service_.ReleaseOutput(answer);
    if (status != 0) {
        char line[96];
        std::snprintf(line, sizeof line, "status: 0x%08x %s", static_cast<unsigned>(status), Status::Meaning(status));
        PrintLine(stderr, line);
    }
    return status;
}

int HostSession::Ask(unsigned int number, std::wstring json, std::wstring& answer) {
    wchar_t* text = nullptr;
    const int status = service_.ExecuteCommand(session_, number, json.data(), &text, [](wchar_t*) {});
    answer = text != nullptr ? text : L"";
    service_.ReleaseOutput(text);
    return status;
}

}  // namespace Qv::Devicectl
