#pragma once
#include <string>
#include <vector>

#include "tools/devicectl/Host.h"
#include "tools/devicectl/ServiceModule.h"

namespace Qv::Devicectl {

// One getter's answer: the command, its request, its status and answer text (empty without one).
struct GetterAnswer {
    unsigned int number;
    std::wstring request;
    std::string name;  // "<Area>.<Operation>"
    int status;
    std::wstring answer;
};

// Asks every getter of the command table that this module carries, in one session, in an order
// that reads each setting before anything can take it away; answers in command order.
std::vector<GetterAnswer> AskEveryGetter(ServiceModule& module, HostSession& host);

// devicectl status: every readable setting of the device, one getter per line.
int ShowStatus(ServiceModule& module, std::wstring clientId);

}  // namespace Qv::Devicectl
