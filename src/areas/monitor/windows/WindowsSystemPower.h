#pragma once
// Windows.System.Power ABI declarations mingw-w64 lacks, from the public metadata: the statics
// of PowerManager in their slot order.
#include "platform/windows/winrt/WindowsFoundation.h"

namespace Qv::platform::windows::winrt {

constexpr const wchar_t* kPowerManagerClass = L"Windows.System.Power.PowerManager";
constexpr GUID IID_IPowerManagerStatics = {0x1394825d, 0x62ce, 0x4364, {0x98, 0xd5, 0xaa, 0x28, 0xc7, 0xfb, 0xd1, 0x5b}};

struct IPowerManagerStatics : IInspectable {
    virtual HRESULT STDMETHODCALLTYPE get_EnergySaverStatus(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_EnergySaverStatusChanged(IEventHandlerObject* handler,
                                                                  EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_EnergySaverStatusChanged(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_BatteryStatus(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_BatteryStatusChanged(IEventHandlerObject* handler,
                                                              EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_BatteryStatusChanged(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PowerSupplyStatus(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_PowerSupplyStatusChanged(IEventHandlerObject* handler,
                                                                  EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_PowerSupplyStatusChanged(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RemainingChargePercent(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_RemainingChargePercentChanged(IEventHandlerObject* handler,
                                                                       EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_RemainingChargePercentChanged(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RemainingDischargeTime(INT64* duration) = 0;  // TimeSpan, 100 ns
    virtual HRESULT STDMETHODCALLTYPE add_RemainingDischargeTimeChanged(IEventHandlerObject* handler,
                                                                       EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_RemainingDischargeTimeChanged(EventRegistrationToken token) = 0;
};

}  // namespace Qv::platform::windows::winrt
