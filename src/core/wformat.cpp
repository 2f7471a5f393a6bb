#include "core/wformat.h"

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "core/strings.h"

namespace Qv::Core {
namespace {

enum class Length { None, Short, Char, Long, LongLong, Size };

struct ConversionFlags {
    bool left = false, zero = false, plus = false, space = false, alt = false;
    int width = 0;
    int precision = -1;
    Length length = Length::None;
};

void Pad(std::wstring& out, const std::wstring& body, const ConversionFlags& flags, size_t signLen = 0) {
    const size_t width = flags.width > 0 ? static_cast<size_t>(flags.width) : 0;
    if (body.size() >= width) {
        out += body;
    } else if (flags.left) {
        out += body;
        out.append(width - body.size(), L' ');
    } else if (flags.zero) {
        // Zeros go between the sign (or 0x prefix) and the digits.
        out.append(body, 0, signLen);
        out.append(width - body.size(), L'0');
        out.append(body, signLen, std::wstring::npos);
    } else {
        out.append(width - body.size(), L' ');
        out += body;
    }
}

std::wstring Digits(unsigned long long value, unsigned base, bool upper) {
    const wchar_t* set = upper ? L"0123456789ABCDEF" : L"0123456789abcdef";
    std::wstring digits;
    do {
        digits.insert(digits.begin(), set[value % base]);
        value /= base;
    } while (value != 0);
    return digits;
}

void FormatInteger(std::wstring& out, ConversionFlags flags, wchar_t conv, va_list& args) {
    const bool isSigned = conv == L'd' || conv == L'i';
    unsigned long long magnitude = 0;
    bool negative = false;
    if (isSigned) {
        long long v = 0;
        switch (flags.length) {
            case Length::Long: v = va_arg(args, long); break;
            case Length::LongLong: v = va_arg(args, long long); break;
            case Length::Size: v = static_cast<long long>(va_arg(args, size_t)); break;
            case Length::Short: v = static_cast<short>(va_arg(args, int)); break;
            case Length::Char: v = static_cast<signed char>(va_arg(args, int)); break;
            case Length::None: v = va_arg(args, int); break;
        }
        negative = v < 0;
        magnitude = negative ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    } else {
        switch (flags.length) {
            case Length::Long: magnitude = va_arg(args, unsigned long); break;
            case Length::LongLong: magnitude = va_arg(args, unsigned long long); break;
            case Length::Size: magnitude = va_arg(args, size_t); break;
            case Length::Short: magnitude = static_cast<unsigned short>(va_arg(args, unsigned)); break;
            case Length::Char: magnitude = static_cast<unsigned char>(va_arg(args, unsigned)); break;
            case Length::None: magnitude = va_arg(args, unsigned); break;
        }
    }
    const unsigned base = (conv == L'x' || conv == L'X') ? 16 : conv == L'o' ? 8 : 10;
    std::wstring digits = Digits(magnitude, base, conv == L'X');
    if (flags.precision >= 0) {
        flags.zero = false;
        if (flags.precision == 0 && magnitude == 0) digits.clear();
        if (digits.size() < static_cast<size_t>(flags.precision)) digits.insert(0, flags.precision - digits.size(), L'0');
    }
    std::wstring prefix;
    if (negative) prefix = L"-";
    else if (isSigned && flags.plus) prefix = L"+";
    else if (isSigned && flags.space) prefix = L" ";
    if (flags.alt && magnitude != 0 && base == 16) prefix += conv == L'X' ? L"0X" : L"0x";
    if (flags.alt && base == 8 && (digits.empty() || digits[0] != L'0')) digits.insert(0, 1, L'0');
    Pad(out, prefix + digits, flags, prefix.size());
}

void FormatString(std::wstring& out, ConversionFlags flags, bool wide, va_list& args) {
    std::wstring text;
    if (wide) {
        const wchar_t* s = va_arg(args, const wchar_t*);
        if (s == nullptr) text = L"(null)";
        else text = flags.precision >= 0 ? std::wstring(s, wcsnlen(s, flags.precision)) : std::wstring(s);
    } else {
        const char* s = va_arg(args, const char*);
        if (s == nullptr) text = L"(null)";
        else text = Widen(flags.precision >= 0 ? std::string(s, strnlen(s, flags.precision)) : std::string(s));
    }
    flags.zero = false;
    Pad(out, text, flags);
}

}  // namespace

std::wstring FormatWideV(const wchar_t* format, va_list argsIn) {
    std::wstring out;
    if (format == nullptr) return out;
    va_list args;
    va_copy(args, argsIn);
    for (const wchar_t* p = format; *p != L'\0'; ++p) {
        if (*p != L'%') {
            out += *p;
            continue;
        }
        const wchar_t* start = p++;
        if (*p == L'%') {
            out += L'%';
            continue;
        }
        ConversionFlags flags;
        for (;; ++p) {
            if (*p == L'-') flags.left = true;
            else if (*p == L'0') flags.zero = true;
            else if (*p == L'+') flags.plus = true;
            else if (*p == L' ') flags.space = true;
            else if (*p == L'#') flags.alt = true;
            else break;
        }
        if (*p == L'*') {
            flags.width = va_arg(args, int);
            if (flags.width < 0) flags.left = true, flags.width = -flags.width;
            ++p;
        } else {
            while (*p >= L'0' && *p <= L'9') flags.width = flags.width * 10 + (*p++ - L'0');
        }
        if (*p == L'.') {
            ++p;
            flags.precision = 0;
            if (*p == L'*') {
                flags.precision = va_arg(args, int);
                ++p;
            } else {
                while (*p >= L'0' && *p <= L'9') flags.precision = flags.precision * 10 + (*p++ - L'0');
            }
        }
        // Length: 'h' and 'l' also select narrow or wide strings and characters.
        int h = 0, l = 0;
        for (;; ++p) {
            if (*p == L'h') ++h;
            else if (*p == L'l') ++l;
            else if (*p == L'z') flags.length = Length::Size;
            else if (*p == L'I' && p[1] == L'6' && p[2] == L'4') flags.length = Length::LongLong, p += 2;
            else if (*p == L'w') l = 1;
            else break;
        }
        if (l >= 2) flags.length = Length::LongLong;
        else if (l == 1) flags.length = Length::Long;
        else if (h >= 2) flags.length = Length::Char;
        else if (h == 1) flags.length = Length::Short;

        switch (*p) {
            case L'd': case L'i': case L'u': case L'x': case L'X': case L'o':
                FormatInteger(out, flags, *p, args);
                break;
            case L's':
                FormatString(out, flags, h == 0, args);
                break;
            case L'S':
                FormatString(out, flags, l > 0, args);
                break;
            case L'c':
            case L'C': {
                const int c = va_arg(args, int);
                const bool wide = (*p == L'c') ? h == 0 : l > 0;
                std::wstring body(1, wide ? static_cast<wchar_t>(c) : static_cast<wchar_t>(static_cast<unsigned char>(c)));
                flags.zero = false;
                Pad(out, body, flags);
                break;
            }
            case L'p': {
                const void* ptr = va_arg(args, const void*);
                std::wstring digits = Digits(reinterpret_cast<uintptr_t>(ptr), 16, true);
                digits.insert(0, sizeof(void*) * 2 - digits.size(), L'0');
                Pad(out, digits, flags);
                break;
            }
            default:
                // Unknown or truncated conversion: keep the text as written, consume nothing.
                out.append(start, *p == L'\0' ? p : p + 1);
                if (*p == L'\0') {
                    va_end(args);
                    return out;
                }
                break;
        }
    }
    va_end(args);
    return out;
}

std::wstring FormatWide(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring text = FormatWideV(format, args);
    va_end(args);
    return text;
}

}  // namespace Qv::Core
