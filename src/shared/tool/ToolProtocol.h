#pragma once
// The conversation with DeviceControlTool.exe, as both sides speak it: the service runs
// `"<tool>" <area> <function> "<argument>"` and reads one line back. Each area writes its words
// and its tool-side answers once, in its own <Area>Protocol.h, on top of this header; the
// helper, the real tool and the simulated tool all use that one header.
//
// Header only and standard C++ only: DeviceControlTool.exe includes it without the service.
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Qv::Tool {

// The line the tool prints for any failure.
inline constexpr wchar_t kFailure[] = L"-1";

// How the service reads a reply of "-1": as a failed run (most areas) or as the integer it is.
enum class Reply { MinusOneFails, AnyInteger };

// --- the tool's side --------------------------------------------------------------------------

// An argument as the tool reads it: a whole decimal integer with an optional sign that fits in
// 32 bits, nothing before or after it (no blanks). "99999999999" is refused, not clamped.
inline bool ParseInteger(std::wstring_view text, int& value) {
    size_t i = 0;
    bool negative = false;
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        negative = text[0] == L'-';
        i = 1;
    }
    if (i == text.size()) return false;
    int64_t magnitude = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') return false;
        magnitude = magnitude * 10 + (text[i] - L'0');
        if (magnitude > int64_t{INT32_MAX} + 1) return false;
    }
    const int64_t signedValue = negative ? -magnitude : magnitude;
    if (signedValue > INT32_MAX) return false;
    value = static_cast<int>(signedValue);
    return true;
}

// The argument "1" or "0".
inline bool ParseSwitch(std::wstring_view text, bool& on) {
    int value = 0;
    if (!ParseInteger(text, value) || (value != 0 && value != 1)) return false;
    on = value == 1;
    return true;
}

inline std::wstring Switch(bool on) { return on ? L"1" : L"0"; }

// One area of the tool. `Context` is what its handler works on: nothing in the real tool (the
// handler reaches Windows itself), the simulated laptop in the simulated tool. `serve` answers
// a function word of `functions` with its one line.
template <class Context>
struct ToolArea {
    const wchar_t* word;
    std::span<const wchar_t* const> functions;
    std::wstring (*serve)(Context& context, const std::wstring& function, const std::wstring& argument);

    bool Knows(const std::wstring& function) const {
        for (const wchar_t* known : functions)
            if (function == known) return true;
        return false;
    }
};

// The context of the real tool's handlers: they reach Windows themselves.
struct Process {};

// The area of `areas` called `word` that knows `function`; null for an unknown area or function.
template <class Context, class Areas>
const ToolArea<Context>* FindToolArea(const Areas& areas, const std::wstring& word, const std::wstring& function) {
    for (const auto& list : areas)
        for (const ToolArea<Context>& area : list)
            if (word == area.word) return area.Knows(function) ? &area : nullptr;
    return nullptr;
}

// --- the service's side -----------------------------------------------------------------------

// A reply read as std::stoi reads it: leading blanks and a sign, digits, anything after them
// ignored; nullopt when it does not start with a number or does not fit in an int.
inline std::optional<int> ReadInteger(const std::wstring& reply) {
    try {
        return std::stoi(reply);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

}  // namespace Qv::Tool
