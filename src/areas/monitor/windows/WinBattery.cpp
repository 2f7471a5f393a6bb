#include "areas/monitor/windows/WinBattery.h"

#include <windows.h>
#include <roapi.h>
#include <winstring.h>

#include <atomic>

#include "core/logging.h"
#include "platform/windows/raii/winrt.h"
#include "areas/monitor/windows/WindowsSystemPower.h"
#include "platform/windows/winrt/Delegate.h"

namespace Qv::platform::windows {
namespace {

using winrt::IEventHandlerObject;
using winrt::IPowerManagerStatics;

void LogFailure(const char* operation, const wchar_t* call, HRESULT hr) {
    Bridge::Logging::LogComFailure(Bridge::Logging::LogManager::GetLogger(), "Qv::platform::windows::WinBattery",
                                   operation, call, static_cast<unsigned long>(hr));
}

// The power manager's statics, or the HRESULT of the activation (logged).
Result<com_ptr<IPowerManagerStatics>> Statics(const char* operation) {
    com_ptr<IPowerManagerStatics> statics;
    const HRESULT hr = winrt::ActivationFactory(winrt::kPowerManagerClass, winrt::IID_IPowerManagerStatics,
                                                reinterpret_cast<void**>(statics.put()));
    if (FAILED(hr)) {
        LogFailure(operation, L"RoGetActivationFactory(Windows.System.Power.PowerManager)", hr);
        return Failure{hr};
    }
    return statics;
}

// An EventHandler<Object> that calls a function; agile, so the platform may call it on any thread.
class ChangeHandler final : public winrt::Delegate<IEventHandlerObject, &winrt::IID_EventHandler_Object> {
public:
    explicit ChangeHandler(std::function<void()> handler) : handler_(std::move(handler)) {}

    HRESULT STDMETHODCALLTYPE Invoke(IInspectable*, IInspectable*) override {
        try {
            handler_();
        } catch (...) {
            // Nothing may unwind into the platform's thread.
        }
        return S_OK;
    }

private:
    std::function<void()> handler_;
};

using Getter = HRESULT (STDMETHODCALLTYPE IPowerManagerStatics::*)(INT32*);
using Adder = HRESULT (STDMETHODCALLTYPE IPowerManagerStatics::*)(IEventHandlerObject*, EventRegistrationToken*);
using Remover = HRESULT (STDMETHODCALLTYPE IPowerManagerStatics::*)(EventRegistrationToken);

Result<int32_t> Read(Getter getter, const char* operation, const wchar_t* call) {
    RuntimeScope runtime;
    auto statics = Statics(operation);
    if (!statics) return Failure{statics.Status()};
    INT32 value = 0;
    const HRESULT hr = (statics->get()->*getter)(&value);
    if (FAILED(hr)) {
        LogFailure(operation, call, hr);
        return Failure{hr};
    }
    return value;
}

Result<int64_t> Register(Adder adder, std::function<void()> handler, const char* operation, const wchar_t* call) {
    RuntimeScope runtime;
    auto statics = Statics(operation);
    if (!statics) return Failure{statics.Status()};
    com_ptr<IEventHandlerObject> delegate(new ChangeHandler(std::move(handler)));
    EventRegistrationToken token{};
    const HRESULT hr = (statics->get()->*adder)(delegate.get(), &token);
    if (FAILED(hr)) {
        LogFailure(operation, call, hr);
        return Failure{hr};
    }
    return static_cast<int64_t>(token.value);
}

void Unregister(Remover remover, int64_t token, const char* operation, const wchar_t* call) {
    RuntimeScope runtime;
    auto statics = Statics(operation);
    if (!statics) return;
    const HRESULT hr = (statics->get()->*remover)(EventRegistrationToken{token});
    if (FAILED(hr)) LogFailure(operation, call, hr);
}

}  // namespace

Result<int32_t> WinBattery::BatteryStatus() {
    return Read(&IPowerManagerStatics::get_BatteryStatus, "BatteryStatus", L"IPowerManagerStatics->get_BatteryStatus");
}

Result<int32_t> WinBattery::RemainingChargePercent() {
    return Read(&IPowerManagerStatics::get_RemainingChargePercent, "RemainingChargePercent",
                L"IPowerManagerStatics->get_RemainingChargePercent");
}

Result<int64_t> WinBattery::AddBatteryStatusChanged(std::function<void()> handler) {
    return Register(&IPowerManagerStatics::add_BatteryStatusChanged, std::move(handler), "AddBatteryStatusChanged",
                    L"IPowerManagerStatics->add_BatteryStatusChanged");
}

Result<int64_t> WinBattery::AddRemainingChargeChanged(std::function<void()> handler) {
    return Register(&IPowerManagerStatics::add_RemainingChargePercentChanged, std::move(handler),
                    "AddRemainingChargeChanged", L"IPowerManagerStatics->add_RemainingChargePercentChanged");
}

void WinBattery::RemoveBatteryStatusChanged(int64_t token) {
    Unregister(&IPowerManagerStatics::remove_BatteryStatusChanged, token, "RemoveBatteryStatusChanged",
               L"IPowerManagerStatics->remove_BatteryStatusChanged");
}

void WinBattery::RemoveRemainingChargeChanged(int64_t token) {
    Unregister(&IPowerManagerStatics::remove_RemainingChargePercentChanged, token, "RemoveRemainingChargeChanged",
               L"IPowerManagerStatics->remove_RemainingChargePercentChanged");
}

}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IBattery> Qv::platform::IBattery::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinBattery>();
}
