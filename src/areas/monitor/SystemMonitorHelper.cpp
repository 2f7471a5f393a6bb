#include "areas/monitor/SystemMonitorHelper.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

#include "core/status.h"
#include "core/strings.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// What tells the two kinds of subscription apart.
struct SystemMonitorHelper::Kind {
    const char* operation;
    const wchar_t* registerLog;
    platform::OwnedEvent MonitorSession::*stop;
    platform::OwnedEvent MonitorSession::*change;
    std::wstring (MonitorSession::*names)[2];
};

namespace {

constexpr int kEnded = 1;
constexpr int kAlreadySubscribed = 2;
constexpr int kStopRequested = 11;
constexpr int kNothingToStop = 12;
constexpr int kFailed = -1;
// The remote call's status when the client cancelled it or is gone.
constexpr uint32_t kCallCancelled = 1;
constexpr uint32_t kCallDisconnected = 2;

const wchar_t* BatteryStatusName(int32_t status) {
    switch (status) {
        case platform::IBattery::Discharging: return L"Discharging";
        case platform::IBattery::Idle: return L"Idle";
        case platform::IBattery::Charging: return L"Charging";
        default: return L"NotPresent";
    }
}

// The session's monitor state (made when the session started).
MonitorSession& Session(DeviceControlServiceContext& context) { return context.State<MonitorSession>(); }

// An integer member, or nullopt when it is missing or not a 32-bit JSON integer.
std::optional<int> IntegerMember(Json::Document* document, const wchar_t* key) {
    const Json::Value* value = document != nullptr ? Json::FindMember(*document, key) : nullptr;
    if (value == nullptr || !value->IsInt()) return std::nullopt;
    return value->GetInt();
}

}  // namespace

SystemMonitorHelper* SystemMonitorHelper::GetInstance() {
    // Never destroyed: its polling thread may still be asleep when the process ends.
    static SystemMonitorHelper* instance = new SystemMonitorHelper(nullptr);
    return instance;
}

SystemMonitorHelper::SystemMonitorHelper(platform::Platform* platform)
    : className_(Core::TypeName<SystemMonitorHelper>()), platform_(platform) {
    logger_ = Logging::LogManager::GetSystemInformationLogger();
}

SystemMonitorHelper::~SystemMonitorHelper() { StopPolling(); }

// --- the commands -----------------------------------------------------------------------------

int SystemMonitorHelper::RegisterDeviceStatusChange(Document* request, Document* response, Callback callback,
                                                    DeviceControlServiceContext* context) {
    const std::optional<int> eventId = IntegerMember(request, L"eventId");
    if (!eventId) return Status::kArgumentCheckFailed;
    const int threshold = IntegerMember(request, L"memoryThreshold").value_or(-1);
    const int result = RegisterDeviceStatusChange(*eventId, threshold, std::move(callback), context);
    if (result < 0) return Status::kGeneralFailure;
    response->AddMember(L"result", result, response->GetAllocator());
    return Status::kSuccess;
}

int SystemMonitorHelper::RegisterDeviceStatusChange(int eventId, int memoryThreshold, Callback callback,
                                                    DeviceControlServiceContext* context) {
    if (context == nullptr) return kFailed;  // a subscription lives in a session
    if (memoryThreshold >= 0) Session(*context).memoryThreshold.store(memoryThreshold);
    if (eventId == kBatteryEvent) return RegisterBatteryChange(eventId, callback, context);
    if (eventId == kLowMemoryEvent) return RegisterLowMemoryChange(eventId, callback, context);
    return kFailed;
}

int SystemMonitorHelper::UnregisterDeviceStatusChange(Document* request, Document* response,
                                                      DeviceControlServiceContext* context) {
    const std::optional<int> eventId = IntegerMember(request, L"eventId");
    if (!eventId) return Status::kArgumentCheckFailed;
    const int result = UnregisterDeviceStatusChange(*eventId, context);
    if (result < 0) return Status::kGeneralFailure;
    response->AddMember(L"result", result, response->GetAllocator());
    return Status::kSuccess;
}

int SystemMonitorHelper::UnregisterDeviceStatusChange(int eventId, DeviceControlServiceContext* context) {
    if ((eventId != kBatteryEvent && eventId != kLowMemoryEvent) || context == nullptr) return kFailed;
    std::lock_guard<std::mutex> lock(context->lock);
    MonitorSession& session = Session(*context);
    platform::EventHandle stop = (eventId == kBatteryEvent ? session.batteryStopEvent : session.memoryStopEvent).get();
    if (stop == nullptr) return kNothingToStop;
    const auto set = Ports().Events().Set(stop);
    if (set) return kStopRequested;
    Logging::LogApiError(logger_, className_, "UnregisterDeviceStatusChange", L"SetEvent", set.Status());
    return kFailed;
}

// --- subscriptions ----------------------------------------------------------------------------

int SystemMonitorHelper::RegisterLowMemoryChange(int eventId, const Callback& callback,
                                                 DeviceControlServiceContext* context) {
    static const Kind kind{"RegisterLowMemoryChange", L"SystemMonitorHelper::RegisterLowMemoryChange eventId %d\n",
                           &MonitorSession::memoryStopEvent, &MonitorSession::memoryChangeEvent,
                           &MonitorSession::memoryEventNames};
    MonitorSession& session = Session(*context);
    return Listen(
        kind, eventId, context,
        [&] {
            addLowMemoryClient(&session);
            return true;
        },
        [&] { removeLowMemoryClient(&session); }, [] {}, [&] { SendLowMemoryMessage(callback, session); });
}

int SystemMonitorHelper::RegisterBatteryChange(int eventId, const Callback& callback,
                                               DeviceControlServiceContext* context) {
    static const Kind kind{"RegisterBatteryChange", L"SystemMonitorHelper::RegisterBatteryChange eventId %d\n",
                           &MonitorSession::batteryStopEvent, &MonitorSession::batteryChangeEvent,
                           &MonitorSession::batteryEventNames};
    MonitorSession& session = Session(*context);
    // The power manager may call a handler on one of its threads at any time, also after the
    // registration was removed; the handlers reach the session only through this link, which is
    // cut before the subscription ends.
    struct Link {
        std::mutex mutex;
        DeviceControlServiceContext* context;
    };
    const auto link = std::make_shared<Link>();
    link->context = context;
    return Listen(
        kind, eventId, context,
        [&] {
            platform::IBattery& battery = Battery();
            const auto onChange = [this, link] {
                std::lock_guard<std::mutex> guard(link->mutex);
                if (link->context != nullptr) OnBatteryChange(link->context);
            };
            const auto status = battery.AddBatteryStatusChanged(onChange);
            if (status) session.batteryStatusToken = *status;
            const auto charge = status ? battery.AddRemainingChargeChanged(onChange) : platform::Failure{status.Status()};
            if (charge) session.remainingChargeToken = *charge;
            if (charge) return true;
            logger_->LogError(L"%S.%S - the power manager is not available, HRESULT 0x%x", className_,
                              "RegisterBatteryChange", static_cast<unsigned>(charge.Status()));
            RemoveBatteryRegistrations(session);
            return false;
        },
        [&] { RemoveBatteryRegistrations(session); },
        [&] {
            std::lock_guard<std::mutex> guard(link->mutex);
            link->context = nullptr;
        },
        [&] { SendSystemBatteryMessage(callback); });
}

int SystemMonitorHelper::Listen(const Kind& kind, int eventId, DeviceControlServiceContext* context,
                                const std::function<bool()>& begin, const std::function<void()>& end,
                                const std::function<void()>& detach, const std::function<void()>& send) {
    platform::INamedEvents& events = Ports().Events();
    MonitorSession& session = Session(*context);
    std::unique_lock<std::mutex> lock(context->lock);
    logger_->LogInfo(kind.registerLog, eventId);
    platform::OwnedEvent& stop = session.*kind.stop;
    platform::OwnedEvent& change = session.*kind.change;
    if (stop) return kAlreadySubscribed;

    auto madeStop = events.CreateManualReset((session.*kind.names)[0]);
    auto madeChange = madeStop ? events.CreateManualReset((session.*kind.names)[1])
                               : platform::Result<platform::EventHandle>(platform::Failure{madeStop.Status()});
    if (!madeStop || !madeChange) {
        logger_->LogError(L"%S.%S - unable to create event, GetLastError = %d", className_, kind.operation,
                          madeStop ? madeChange.Status() : madeStop.Status());
        platform::OwnedEvent made(events, madeStop ? *madeStop : nullptr);
        CloseEvent(made, kind.operation);
        return kFailed;
    }
    stop = platform::OwnedEvent(events, *madeStop);
    change = platform::OwnedEvent(events, *madeChange);
    bool begun = false;
    try {
        begun = begin();
    } catch (const std::exception& error) {
        logger_->LogError(L"%S.%S - Exception raised %S", className_, kind.operation, error.what());
    }
    if (!begun) {
        lock.unlock();
        detach();
        lock.lock();
        CloseEvent(stop, kind.operation);
        CloseEvent(change, kind.operation);
        return kFailed;
    }
    // Not held while waiting: a second subscription on this session answers at once, and
    // command 32 (on another thread) takes the lock to set the stop event.
    const platform::EventHandle stopEvent = stop.get();
    const platform::EventHandle changeEvent = change.get();
    lock.unlock();

    auto fired = events.WaitForEither(stopEvent, changeEvent);
    while (fired && *fired == 1) {
        const auto call = Ports().Rpc().CallStatus();
        if (call && (*call == kCallCancelled || *call == kCallDisconnected)) break;
        send();
        (void)events.Reset(changeEvent);
        fired = events.WaitForEither(stopEvent, changeEvent);
    }
    if (!fired) Logging::LogApiError(logger_, className_, kind.operation, L"WaitForMultipleObjects", fired.Status());

    detach();
    lock.lock();
    end();
    CloseEvent(stop, kind.operation);
    CloseEvent(change, kind.operation);
    session.subscriptionEnded.notify_all();
    return kEnded;
}

void SystemMonitorHelper::CloseEvent(platform::OwnedEvent& event, const char* operation) {
    const auto closed = event.Close();
    if (!closed) Logging::LogApiError(logger_, className_, operation, L"CloseHandle", closed.Status());
}

void SystemMonitorHelper::RemoveBatteryRegistrations(MonitorSession& session) {
    platform::IBattery& battery = Battery();
    if (session.batteryStatusToken != 0) battery.RemoveBatteryStatusChanged(session.batteryStatusToken);
    if (session.remainingChargeToken != 0) battery.RemoveRemainingChargeChanged(session.remainingChargeToken);
    session.batteryStatusToken = 0;
    session.remainingChargeToken = 0;
}

void SystemMonitorHelper::OnBatteryChange(DeviceControlServiceContext* context) {
    MonitorSession& session = Session(*context);
    std::lock_guard<std::mutex> lock(context->lock);
    if (session.batteryStopEvent && Ports().Events().Set(session.batteryChangeEvent.get())) return;
    // Nobody listens on this session any more.
    RemoveBatteryRegistrations(session);
}

// --- the session's hooks ----------------------------------------------------------------------

void SystemMonitorHelper::SessionStarted(DeviceControlServiceContext& context, platform::Platform& platform) {
    auto& uuids = platform.Uuids();
    MonitorSession& session = Session(context);
    session.batteryEventNames[0] = L"qvbl_" + uuids.NewUuidString().ValueOr(L"");
    session.batteryEventNames[1] = L"qvbtc_" + uuids.NewUuidString().ValueOr(L"");
    session.memoryEventNames[0] = L"qvml_" + uuids.NewUuidString().ValueOr(L"");
    session.memoryEventNames[1] = L"qvmtc_" + uuids.NewUuidString().ValueOr(L"");
}

void SystemMonitorHelper::StopSubscriptions(DeviceControlServiceContext& context, platform::Platform& platform,
                                            const wchar_t* message) {
    MonitorSession* session = context.FindState<MonitorSession>();
    if (session == nullptr) return;
    // Sets the stop events of the running subscriptions and waits until they have closed their
    // events, so that the host threads they hold return.
    std::unique_lock<std::mutex> lock(context.lock);
    const auto stopped = [&](const platform::OwnedEvent& stop) { return stop && platform.Events().Set(stop.get()).Ok(); };
    const bool battery = stopped(session->batteryStopEvent);
    const bool memory = stopped(session->memoryStopEvent);
    if (!battery && !memory) return;
    logger_->LogWarning(message);
    session->subscriptionEnded.wait(lock, [&] {
        return (!battery || !session->batteryStopEvent) && (!memory || !session->memoryStopEvent);
    });
}

void SystemMonitorHelper::SessionEnding(DeviceControlServiceContext& context, platform::Platform& platform) {
    MonitorSession* session = context.FindState<MonitorSession>();
    if (session == nullptr) return;
    // A client should end its subscriptions (command 32) before its session. One that did not
    // would leave a host thread waiting on events about to be closed, in a context about to be
    // freed.
    StopSubscriptions(context, platform, L"DeviceControlService::EndSession - ending a subscription still running");
    // A failed close is not reported here.
    (void)session->batteryStopEvent.Close();
    (void)session->batteryChangeEvent.Close();
    if (session->batteryStatusToken != 0 || session->remainingChargeToken != 0) RemoveBatteryRegistrations(*session);
    session->lastMemoryLoad = -1;
    (void)session->memoryStopEvent.Close();
    (void)session->memoryChangeEvent.Close();
}

// --- the low-memory clients and the polling thread ---------------------------------------------

void SystemMonitorHelper::addLowMemoryClient(MonitorSession* session) {
    std::lock_guard<std::mutex> lock(listLock_);
    if (std::find(lowMemoryClients_.begin(), lowMemoryClients_.end(), session) == lowMemoryClients_.end()) {
        if (lowMemoryClients_.size() >= lowMemoryClients_.max_size()) throw std::length_error("list too long");
        lowMemoryClients_.push_back(session);
    }
    if (!monitorRunning_) createSysMonitorThread();
}

void SystemMonitorHelper::removeLowMemoryClient(MonitorSession* session) {
    std::lock_guard<std::mutex> lock(listLock_);
    lowMemoryClients_.remove(session);
}

void SystemMonitorHelper::createSysMonitorThread() {
    // The previous thread has ended (it cleared monitorRunning_ under this lock and returned).
    if (monitorThread_.joinable()) monitorThread_.join();
    pollingPorts_ = &Ports();
    platform::Platform* ports = pollingPorts_;
    monitorThread_ = platform::ModuleThread(ports->Threads().Start([this, ports] { monitorLowMemory(ports); }));
    if (!monitorThread_.joinable()) throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                                            "the polling thread could not be started");
    monitorRunning_ = true;
    ++threadsStarted_;
}

void SystemMonitorHelper::StopPolling() {
    platform::ModuleThread polling;
    platform::Platform* ports = nullptr;
    {
        std::lock_guard<std::mutex> lock(listLock_);
        stop_.store(true);
        polling = std::move(monitorThread_);
        ports = pollingPorts_;
    }
    if (ports != nullptr) ports->Clock().Wake();
    if (polling.joinable()) {
        if (polling.is_calling_thread()) polling.detach();
        else polling.join();
    }
    std::lock_guard<std::mutex> lock(listLock_);
    monitorRunning_ = false;
    stop_.store(false);
    monitorEnded_.notify_all();
}

void SystemMonitorHelper::monitorLowMemory(platform::Platform* ports) {
    platform::IClock& clock = ports->Clock();
    while (!stop_.load()) {
        const auto load = ports->AreaPort<platform::IMemoryStatus>().MemoryLoad();
        {
            std::lock_guard<std::mutex> lock(listLock_);
            for (auto it = lowMemoryClients_.begin(); it != lowMemoryClients_.end();) {
                MonitorSession* client = *it;
                // Its events are open while it is in the list: the subscription adds it after making
                // them and removes it before closing them.
                bool drop = !client->memoryStopEvent;
                if (!drop && load) {
                    const int32_t memoryLoad = static_cast<int32_t>(*load);
                    const int32_t threshold = client->memoryThreshold.load();
                    if (memoryLoad > threshold && client->lastMemoryLoad.load() < threshold) {
                        client->lastMemoryLoad.store(memoryLoad);
                        drop = !ports->Events().Set(client->memoryChangeEvent.get());
                    }
                }
                it = drop ? lowMemoryClients_.erase(it) : std::next(it);
            }
            if (lowMemoryClients_.empty()) {
                EndMonitorThread();
                return;
            }
        }
        clock.SleepUntil(clock.SteadyMilliseconds() + kPollMilliseconds, stop_);
    }
    std::lock_guard<std::mutex> lock(listLock_);
    EndMonitorThread();
}

void SystemMonitorHelper::EndMonitorThread() {
    // Called by the thread itself, under the list lock, just before it returns. It stays
    // joinable: the next listener joins it before starting a new one, and StopPolling joins a
    // running one, so no thread of the module outlives the last service (the host may unload
    // the module next).
    monitorRunning_ = false;
    monitorEnded_.notify_all();
}

size_t SystemMonitorHelper::LowMemoryClients() const {
    std::lock_guard<std::mutex> lock(listLock_);
    return lowMemoryClients_.size();
}

size_t SystemMonitorHelper::MonitorThreadsStarted() const {
    std::lock_guard<std::mutex> lock(listLock_);
    return threadsStarted_;
}

bool SystemMonitorHelper::MonitorRunning() const {
    std::lock_guard<std::mutex> lock(listLock_);
    return monitorRunning_;
}

// --- messages ---------------------------------------------------------------------------------

void SystemMonitorHelper::SendSystemBatteryMessage(Callback callback) {
    platform::IBattery& battery = Battery();
    Json::Document message(nullptr, Json::kParseStackBytes);
    auto& allocator = message.GetAllocator();
    message.SetObject();
    message.AddMember(L"eventId", kBatteryEvent, allocator);
    message.AddMember(L"batteryStatus", Json::Value(BatteryStatusName(battery.BatteryStatus().ValueOr(-1)), allocator),
                      allocator);
    message.AddMember(L"remainingCharge", battery.RemainingChargePercent().ValueOr(-1), allocator);
    Send(message, callback, L"SystemMonitorHelper::SendSystemBatteryMessage receivedEventString %s\n",
         L"SystemMonitorHelper::SendSystemBatteryMessage RPC Callback error %s\n");
}

void SystemMonitorHelper::SendLowMemoryMessage(Callback callback, MonitorSession& session) {
    const int32_t load = static_cast<int32_t>(Ports().AreaPort<platform::IMemoryStatus>().MemoryLoad().ValueOr(
        static_cast<uint32_t>(std::max(session.lastMemoryLoad.load(), 0))));
    Json::Document message(nullptr, Json::kParseStackBytes);
    message.SetObject();
    message.AddMember(L"eventId", kLowMemoryEvent, message.GetAllocator());
    message.AddMember(L"memoryInUse", load, message.GetAllocator());
    Send(message, callback, L"SystemMonitorHelper::SendLowMemoryMessage receivedEventString %s\n",
         L"SystemMonitorHelper::SendLowMemoryMessage RPC Callback error %s\n");
}

void SystemMonitorHelper::Send(const Json::Document& message, Callback& callback, const wchar_t* sentFormat,
                               const wchar_t* errorFormat) {
    // The text stays ours; the client copies what it keeps.
    std::wstring text = Json::Serialize(message);
    logger_->LogInfo(sentFormat, text.c_str());
    if (!callback) return;
    try {
        callback(text.data());
    } catch (const std::exception& error) {
        logger_->LogError(errorFormat, Core::Widen(error.what()).c_str());
    } catch (...) {
        logger_->LogError(errorFormat, L"unknown exception");
    }
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
