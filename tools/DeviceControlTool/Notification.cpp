// The user's notification toasts: the per-user push-notification setting "ToastEnabled" (a
// DWORD, 1 on, 0 off; toasts are on while the value is absent).
#include <windows.h>

#include "tools/DeviceControlTool/Areas.h"

namespace Qv::Tool {
namespace {

constexpr const wchar_t* kKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\PushNotifications";
constexpr const wchar_t* kValue = L"ToastEnabled";
const std::wstring kFailure = L"-1";

// 1 or 0, or -1 when the setting cannot be read.
int ReadToastEnabled() {
    DWORD value = 0;
    DWORD size = sizeof(value);
    const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, kKey, kValue, RRF_RT_REG_DWORD, nullptr, &value, &size);
    if (status == ERROR_FILE_NOT_FOUND) return 1;
    if (status != ERROR_SUCCESS) return -1;
    return value != 0 ? 1 : 0;
}

bool WriteToastEnabled(bool on) {
    const DWORD value = on ? 1 : 0;
    return RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_DWORD, &value, sizeof(value)) == ERROR_SUCCESS;
}

}  // namespace

std::wstring Notification(const std::wstring& function, const std::wstring& argument) {
    if (function == L"GetToastOnOff") {
        const int enabled = ReadToastEnabled();
        return enabled < 0 ? kFailure : std::to_wstring(enabled);
    }
    if (function == L"SetToastOnOff") {
        bool on = false;
        if (!ParseSwitch(argument, on)) return kFailure;
        // Written, then read back: the line says whether the setting now is what was asked.
        return WriteToastEnabled(on) && ReadToastEnabled() == (on ? 1 : 0) ? L"1" : kFailure;
    }
    return kFailure;
}

}  // namespace Qv::Tool
