#pragma once
// The areas of DeviceControlTool. Each takes a function word and one argument and answers the
// text of its one line ("-1" for failure).
#include <string>

namespace Qv::Tool {

std::wstring Accessory(const std::wstring& function, const std::wstring& argument);
std::wstring Notification(const std::wstring& function, const std::wstring& argument);

// The argument as a whole decimal integer; false for anything else.
bool ParseInteger(const std::wstring& text, int& value);
// The argument "1" or "0"; false for anything else.
bool ParseSwitch(const std::wstring& text, bool& on);

}  // namespace Qv::Tool
