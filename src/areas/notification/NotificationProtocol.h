#pragma once
// The notification area of DeviceControlTool.exe: the words the service sends, how the tool
// answers them, and how the service reads the answer. Used by NotificationHelper, the real tool
// (tool/NotificationTool.cpp) and the simulated tool (sim/SimNotification.cpp).
#include <string>

#include "shared/tool/ToolProtocol.h"

namespace Qv::Tool::Notification {

inline constexpr wchar_t kArea[] = L"Notification";
inline constexpr wchar_t kGetToastOnOff[] = L"GetToastOnOff";
inline constexpr wchar_t kSetToastOnOff[] = L"SetToastOnOff";
inline constexpr const wchar_t* kFunctions[] = {kGetToastOnOff, kSetToastOnOff};
// Unlike the mouse, a "-1" reply reads as the integer it is (non-zero: on).
inline constexpr Reply kReply = Reply::AnyInteger;

// The signed-in user's toast setting, as the tool reaches it.
class IToasts {
public:
    virtual int Enabled() = 0;  // 1 on, 0 off, -1 when it cannot be read
    virtual bool SetEnabled(bool on) = 0;

protected:
    ~IToasts() = default;
};

// The tool's line for one of kFunctions. A change answers "1" only when reading it back shows
// that it took, and "0" when it did not: the service reads any non-zero reply of this area as
// on, so a failed change must not answer "-1".
inline std::wstring Serve(IToasts& toasts, const std::wstring& function, const std::wstring& argument) {
    if (function == kGetToastOnOff) {
        const int enabled = toasts.Enabled();
        return enabled < 0 ? kFailure : std::to_wstring(enabled);
    }
    if (function == kSetToastOnOff) {
        bool on = false;
        if (!ParseSwitch(argument, on)) return kFailure;
        return toasts.SetEnabled(on) && toasts.Enabled() == (on ? 1 : 0) ? L"1" : L"0";
    }
    return kFailure;
}

}  // namespace Qv::Tool::Notification
