// DeviceControlTool.exe <area> <function> "<argument>"
// Runs in the signed-in user's session on behalf of DeviceControlService and prints exactly one
// line: the value asked for, a non-zero number for a change that took, or -1 for any failure.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "tools/DeviceControlTool/Areas.h"

namespace Qv::Tool {

bool ParseInteger(const std::wstring& text, int& value) {
    if (text.empty() || text.size() > 11) return false;
    wchar_t* end = nullptr;
    const long parsed = std::wcstol(text.c_str(), &end, 10);
    if (end == nullptr || *end != L'\0' || parsed < INT_MIN || parsed > INT_MAX) return false;
    value = static_cast<int>(parsed);
    return true;
}

bool ParseSwitch(const std::wstring& text, bool& on) {
    int value = 0;
    if (!ParseInteger(text, value) || (value != 0 && value != 1)) return false;
    on = value == 1;
    return true;
}

}  // namespace Qv::Tool

int wmain(int argc, wchar_t** argv) {
    std::wstring answer = L"-1";
    if (argc == 4) {
        const std::wstring area = argv[1];
        if (area == L"Accessory") answer = Qv::Tool::Accessory(argv[2], argv[3]);
        if (area == L"Notification") answer = Qv::Tool::Notification(argv[2], argv[3]);
    }
    std::printf("%ls\n", answer.c_str());
    return answer == L"-1" ? 1 : 0;
}
