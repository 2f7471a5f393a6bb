// DeviceControlTool.exe's notification area: the per-user push-notification setting
// "ToastEnabled" (a DWORD, 1 on, 0 off; toasts are on while the value is absent).
#include <windows.h>

#include <span>

#include "areas/notification/NotificationProtocol.h"

namespace Qv::Tool {
namespace {

constexpr const wchar_t* kKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\PushNotifications";
constexpr const wchar_t* kValue = L"ToastEnabled";

class UserToasts final : public Notification::IToasts {
public:
    int Enabled() override {
        DWORD value = 0;
        DWORD size = sizeof(value);
        const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, kKey, kValue, RRF_RT_REG_DWORD, nullptr, &value, &size);
        if (status == ERROR_FILE_NOT_FOUND) return 1;
        if (status != ERROR_SUCCESS) return -1;
        return value != 0 ? 1 : 0;
    }
    bool SetEnabled(bool on) override {
        const DWORD value = on ? 1 : 0;
        return RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_DWORD, &value, sizeof(value)) == ERROR_SUCCESS;
    }
};

std::wstring Serve(Process&, const std::wstring& function, const std::wstring& argument) {
    UserToasts toasts;
    return Notification::Serve(toasts, function, argument);
}

}  // namespace

std::span<const ToolArea<Process>> NotificationToolAreas() {
    static const ToolArea<Process> areas[] = {{Notification::kArea, Notification::kFunctions, &Serve}};
    return areas;
}

}  // namespace Qv::Tool
