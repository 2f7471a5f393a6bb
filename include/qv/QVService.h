#pragma once
// The service interface as the module's own C++ code sees it. The host reaches the module
// through the Visual C++ layout of qv/QVServiceAbi.h, which src/abi adapts to this class; the
// native build and the unit tests use this class directly.
//
// The virtual slots are, in order: destructor, StartSession, EndSession, ExecuteCommand,
// ReleaseOutput, startup_task, ReservedHook6, ReservedHook7, oobe_event_task,
// session_change_task, ReservedHook10. Texts returned through ExecuteCommand are malloc'ed by
// the module and handed back through ReleaseOutput, so allocation and release stay in one heap.
#include <cstdlib>
#include <functional>


namespace Qv::Bridge::Security {
// The host's per-request security configuration; passed through, never read by this module.
class RequestConfiguration;
}  // namespace Qv::Bridge::Security

namespace Qv::Bridge::Server::Services {

class QVService {
public:
    virtual ~QVService() = default;
    virtual int StartSession(wchar_t* clientId, void** sessionContext) = 0;
    virtual int EndSession(void** sessionContext) = 0;
    virtual int ExecuteCommand(void* sessionContext, unsigned int functionId, wchar_t* input, wchar_t** output,
                               std::function<void(wchar_t*)> callback,
                               Qv::Bridge::Security::RequestConfiguration* requestConfiguration) = 0;
    virtual void ReleaseOutput(wchar_t* text) {
        if (text != nullptr) std::free(text);
    }
    virtual void startup_task() {}
    virtual void ReservedHook6() {}
    virtual void ReservedHook7() {}
    virtual bool oobe_event_task() { return true; }
    virtual void session_change_task(unsigned long event, void* data) {
        (void)event;
        (void)data;
    }
    virtual void ReservedHook10() {}
};

}  // namespace Qv::Bridge::Server::Services
