#pragma once
// The service object the host creates through QVCreateService.
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>

#include "core/logging.h"
#include "core/type_slots.h"
#include "platform/platform.h"
#include "qv/QVService.h"
#include "service/CommandTable.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// Longest answer handed to the host, in wide characters including the terminator.
constexpr size_t kMaxAnswerChars = 65536;

class DeviceControlService : public QVService {
public:
    // Uses the installed platform and the module's own command table.
    DeviceControlService();
    // For tests: a platform of their own and, optionally, a table of their own.
    explicit DeviceControlService(platform::Platform& platform,
                                  const CommandTable& commands = CommandTable::Standard());
    ~DeviceControlService() override;

    DeviceControlService(const DeviceControlService&) = delete;
    DeviceControlService& operator=(const DeviceControlService&) = delete;

    // The object is handed out zero-filled, as the host expects of the factory.
    static void* operator new(size_t size);
    static void operator delete(void* memory) noexcept;

    int StartSession(wchar_t* clientId, void** sessionContext) override;
    int EndSession(void** sessionContext) override;
    int ExecuteCommand(void* sessionContext, unsigned int functionId, wchar_t* input, wchar_t** output,
                       std::function<void(wchar_t*)> callback,
                       Qv::Bridge::Security::RequestConfiguration* requestConfiguration) override;
    // The same, with the callback made only if a command uses it (the host's boundary).
    int ExecuteCommand(void* sessionContext, unsigned int functionId, wchar_t* input, wchar_t** output,
                       CallbackSource& callback);
    // The host's notifications reach the areas' hooks (the companion launch takes them).
    void startup_task() override;
    bool oobe_event_task() override;
    void session_change_task(unsigned long event, void* data) override;

    // Impersonates the console user on this thread when the service runs as SYSTEM; the caller
    // reverts with RevertToSelf.
    bool ImpersonateUser();

    // An area's state kept for the life of this service, or null when the area made none.
    template <class T>
    T* FindAreaState() const {
        return areaState_.Find<T>();
    }

private:
    platform::Platform& platform_;
    const CommandTable& commands_;

    std::mutex serviceMutex_;
    std::mutex sessionsMutex_;
    std::set<DeviceControlServiceContext*> sessions_;  // started here and not yet ended
    Logging::TraceLogger* logger_ = nullptr;
    const char* className_ = nullptr;
    // Last, so that it goes first: an area's threads end before the rest of the service.
    Core::TypeSlots areaState_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
