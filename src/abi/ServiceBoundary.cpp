// The module's factory and the Visual C++-shaped service object the host drives. Each slot
// adapts the host's call to DeviceControlService; nothing behind this file knows the layout.
#include <cstdlib>
#include <exception>
#include <new>

#include "abi/HostCallback.h"
#include "abi/ServiceBoundary.h"
#include "core/logging.h"
#include "core/status.h"
#include "qv/QVServiceAbi.h"
#include "service/DeviceControlService.h"

namespace Qv::Abi {
namespace {

using Bridge::Logging::LogManager;
using Bridge::Server::Services::DeviceControl::CommandTable;
using Bridge::Server::Services::DeviceControl::DeviceControlService;

// The object handed to the host: the slot table first, then our service.
struct BoundaryService {
    QVServiceObject object;
    DeviceControlService* service;
};
static_assert(offsetof(BoundaryService, object) == 0, "the host reads the slot table at offset 0");

DeviceControlService& Service(QVServiceObject* self) { return *reinterpret_cast<BoundaryService*>(self)->service; }

// A g++ exception cannot unwind into a Visual C++ host, which would end the process: every slot
// answers a failure instead and says why.
template <class Result, class Call>
Result Guarded(const char* slot, Result failure, Call call) noexcept {
    try {
        return call();
    } catch (const std::exception& error) {
        LogManager::GetLogger()->LogError(L"%S.%S - Exception raised %S", "QVService", slot, error.what());
    } catch (...) {
        LogManager::GetLogger()->LogError(L"%S.%S - Exception raised %S", "QVService", slot, "of unknown type");
    }
    return failure;
}

void* DeletingDestructor(QVServiceObject* self, unsigned int flags) {
    auto* boundary = reinterpret_cast<BoundaryService*>(self);
    Guarded("~QVService", 0, [&] {
        delete boundary->service;
        return 0;
    });
    boundary->service = nullptr;
    if ((flags & 1u) != 0) std::free(boundary);
    return self;
}

int StartSession(QVServiceObject* self, wchar_t* clientId, void** sessionContext) {
    return Guarded("StartSession", Status::kGeneralFailure,
                   [&] { return Service(self).StartSession(clientId, sessionContext); });
}

int EndSession(QVServiceObject* self, void** sessionContext) {
    return Guarded("EndSession", Status::kGeneralFailure, [&] { return Service(self).EndSession(sessionContext); });
}

int ExecuteCommand(QVServiceObject* self, void* sessionContext, unsigned int functionId, wchar_t* input,
                   wchar_t** output, QVHostFunction* callback, QVRequestConfiguration* requestConfiguration) {
    // The callee owns the callback: it ends with this call, whatever happens in it. The request
    // configuration is the host's business and is not read.
    (void)requestConfiguration;
    HostCallbackSource callbacks(callback);
    return Guarded("ExecuteCommand", Status::kGeneralFailure,
                   [&] { return Service(self).ExecuteCommand(sessionContext, functionId, input, output, callbacks); });
}

// Texts are malloc'ed in the module's heap and need nothing of the object: a host thread that
// comes back from a subscription its service's destruction ended can still release its answer.
void ReleaseOutput(QVServiceObject* /*self*/, wchar_t* text) { std::free(text); }

void StartupTask(QVServiceObject* self) {
    Guarded("startup_task", 0, [&] {
        Service(self).startup_task();
        return 0;
    });
}

void ReservedHook6(QVServiceObject* self) {
    Guarded("ReservedHook6", 0, [&] {
        Service(self).ReservedHook6();
        return 0;
    });
}

void ReservedHook7(QVServiceObject* self) {
    Guarded("ReservedHook7", 0, [&] {
        Service(self).ReservedHook7();
        return 0;
    });
}

bool OobeEventTask(QVServiceObject* self) {
    return Guarded("oobe_event_task", false, [&] { return Service(self).oobe_event_task(); });
}

void SessionChangeTask(QVServiceObject* self, unsigned long event, void* data) {
    Guarded("session_change_task", 0, [&] {
        Service(self).session_change_task(event, data);
        return 0;
    });
}

void ReservedHook10(QVServiceObject* self) {
    Guarded("ReservedHook10", 0, [&] {
        Service(self).ReservedHook10();
        return 0;
    });
}

constexpr QVServiceSlots kSlots{&DeletingDestructor, &StartSession,  &EndSession,   &ExecuteCommand,
                                &ReleaseOutput,      &StartupTask,   &ReservedHook6, &ReservedHook7,
                                &OobeEventTask,      &SessionChangeTask, &ReservedHook10};

}  // namespace

Bridge::Server::Services::DeviceControl::DeviceControlService* ServiceOf(QVServiceObject* object) {
    return object != nullptr ? reinterpret_cast<BoundaryService*>(object)->service : nullptr;
}

}  // namespace Qv::Abi

extern "C" QV_API QVServiceObject* QVCreateService() {
    using namespace Qv::Abi;
    // Zeroed whole, as the host expects of the factory; DeviceControlService is zeroed too.
    auto* boundary = static_cast<BoundaryService*>(std::calloc(1, sizeof(BoundaryService)));
    if (boundary == nullptr) return nullptr;
    try {
        boundary->service = new DeviceControlService();
    } catch (...) {
        std::free(boundary);
        return nullptr;
    }
    boundary->object.slots = &kSlots;
    LogManager::GetSystemInformationLogger()->LogInfo(L"DeviceControlService::() - Checking if service needs to be loaded.");
    return &boundary->object;
}
