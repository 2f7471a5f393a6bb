#pragma once
// Device status events: a session subscribes to battery changes (1001) or high memory use
// (1002) with command 31, whose call blocks and sends event messages through the client's
// callback until command 32 ends it.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>

#include "core/json.h"
#include "core/logging.h"
#include "platform/platform.h"
#include "areas/monitor/IBattery.h"
#include "areas/monitor/IMemoryStatus.h"
#include "areas/monitor/MonitorSession.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class SystemMonitorHelper {
public:
    using Document = Json::Document;
    using Callback = std::function<void(wchar_t*)>;

    static constexpr int kBatteryEvent = 1001;
    static constexpr int kLowMemoryEvent = 1002;
    static constexpr uint32_t kPollMilliseconds = 10000;

    // The process's instance, on the platform installed at each call; it lives until the
    // process ends.
    static SystemMonitorHelper* GetInstance();
    // A helper of its own on `platform` (tests).
    explicit SystemMonitorHelper(platform::Platform* platform);
    // Stops the polling thread and joins it.
    ~SystemMonitorHelper();
    SystemMonitorHelper(const SystemMonitorHelper&) = delete;
    SystemMonitorHelper& operator=(const SystemMonitorHelper&) = delete;

    // Command 31: "eventId" (required) and "memoryThreshold" (optional); answers when the
    // subscription has ended. Codes of the typed form: 1 ended, 2 already subscribed, -1 unknown
    // id or a failed system call.
    int RegisterDeviceStatusChange(Document* request, Document* response, Callback callback,
                                   DeviceControlServiceContext* context);
    int RegisterDeviceStatusChange(int eventId, int memoryThreshold, Callback callback,
                                   DeviceControlServiceContext* context);
    // Command 32. Codes of the typed form: 11 stop requested, 12 nothing to stop, -1 unknown id
    // or a failed system call.
    int UnregisterDeviceStatusChange(Document* request, Document* response, DeviceControlServiceContext* context);
    int UnregisterDeviceStatusChange(int eventId, DeviceControlServiceContext* context);

    // Called by the power manager when the battery changes.
    void OnBatteryChange(DeviceControlServiceContext* context);

    // The session's hooks: its events' names when it starts; at its end, a subscription still
    // running is ended and the registrations are removed.
    static void SessionStarted(DeviceControlServiceContext& context, platform::Platform& platform);
    void SessionEnding(DeviceControlServiceContext& context, platform::Platform& platform);
    // The service is being destroyed while the session is open: its subscriptions are ended, so
    // the host threads they hold return.
    void ServiceStopping(DeviceControlServiceContext& context, platform::Platform& platform) {
        StopSubscriptions(context, platform, L"DeviceControlService::~DeviceControlService - ending a subscription still running");
    }
    // Stops the polling thread and joins it (the last service is gone; the module may be
    // unloaded next). A later listener starts a new one.
    void StopPolling();

    // For tests and tools: sessions listening for low memory, polling threads started so far,
    // and whether one runs now.
    size_t LowMemoryClients() const;
    size_t MonitorThreadsStarted() const;
    bool MonitorRunning() const;

private:
    struct Kind;

    int RegisterLowMemoryChange(int eventId, const Callback& callback, DeviceControlServiceContext* context);
    int RegisterBatteryChange(int eventId, const Callback& callback, DeviceControlServiceContext* context);
    // The subscription common to both kinds: events, `begin`, the wait loop sending messages,
    // `detach` (without the session's lock), `end`, events closed.
    int Listen(const Kind& kind, int eventId, DeviceControlServiceContext* context, const std::function<bool()>& begin,
               const std::function<void()>& end, const std::function<void()>& detach,
               const std::function<void()>& send);
    void CloseEvent(platform::OwnedEvent& event, const char* operation);
    void StopSubscriptions(DeviceControlServiceContext& context, platform::Platform& platform, const wchar_t* message);
    void RemoveBatteryRegistrations(MonitorSession& session);

    void addLowMemoryClient(MonitorSession* session);
    void removeLowMemoryClient(MonitorSession* session);
    void createSysMonitorThread();
    void monitorLowMemory(platform::Platform* ports);
    void EndMonitorThread();

    void SendSystemBatteryMessage(Callback callback);
    void SendLowMemoryMessage(Callback callback, MonitorSession& session);
    void Send(const Json::Document& message, Callback& callback, const wchar_t* sentFormat,
              const wchar_t* errorFormat);

    platform::Platform& Ports() { return platform_ != nullptr ? *platform_ : platform::Current(); }
    platform::IBattery& Battery() { return Ports().AreaPort<platform::IBattery>(); }

    Logging::TraceLogger* logger_ = nullptr;
    const char* className_ = nullptr;
    platform::Platform* platform_ = nullptr;

    mutable std::mutex listLock_;  // guards everything below
    platform::ModuleThread monitorThread_;  // joined by the next start or by StopPolling
    platform::Platform* pollingPorts_ = nullptr;  // the platform the polling thread runs on
    bool monitorRunning_ = false;
    std::condition_variable monitorEnded_;
    std::atomic<bool> stop_{false};
    std::list<MonitorSession*> lowMemoryClients_;
    size_t threadsStarted_ = 0;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
