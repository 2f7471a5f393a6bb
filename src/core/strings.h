#pragma once
// Text conversions. A std::wstring holds UTF-16 code units in every build (on Linux each
// 32-bit wchar_t carries one code unit), so texts and JSON behave alike on both targets.
#include <string>
#include <string_view>
#include <typeinfo>

namespace Qv::Core {

// UTF-8 to UTF-16. Invalid bytes become U+FFFD.
std::wstring Widen(std::string_view utf8);
// UTF-16 to UTF-8. Unpaired surrogates become U+FFFD.
std::string Narrow(std::wstring_view utf16);

// Lower case as path comparisons fold it (towlower, one character at a time).
std::wstring Lower(std::wstring text);

// Readable run-time type name ("Qv::Bridge::...::DeviceControlService"), used as the class
// part of log lines. The same in every build, whatever the compiler's own spelling.
std::string DemangledName(const std::type_info& type);

template <typename T>
const char* TypeName() {
    static const std::string name = DemangledName(typeid(T));
    return name.c_str();
}

}  // namespace Qv::Core
