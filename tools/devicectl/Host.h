#pragma once
// devicectl's side of the module: one service with one session, driven through the slot table
// as the host drives it, and the printing every command shares.
#include <cstdio>
#include <string>

#include "abi/HostView.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

constexpr int kExitOk = 0;
constexpr int kExitStatus = 1;
constexpr int kExitUsage = 2;

// One line, whole, even when several threads print (a subscription prints from its own).
void PrintLine(std::FILE* stream, const std::string& text);
// A usage error: the message on stderr; answers kExitUsage.
int Usage(const std::string& message);

class HostSession {
public:
    HostSession(ServiceModule& module, std::wstring clientId);
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    bool Ready() const { return static_cast<bool>(service_); }

    // Runs one command: event messages and the answer (after `label`) on stdout, a non-zero
    // status on stderr; answers the status. Safe to call from several threads at once.
    int Execute(unsigned int number, std::wstring json, const std::string& label = "");
    // Runs one command quietly: its status, and its answer text in `answer` (empty without one).
    int Ask(unsigned int number, std::wstring json, std::wstring& answer);

private:
    std::wstring clientId_;
    Abi::HostService service_;
    void* session_ = nullptr;
};

}  // namespace Qv::Devicectl
