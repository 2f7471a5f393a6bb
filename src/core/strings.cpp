#include "core/strings.h"

#include <cstdint>
#include <cstdlib>
#include <cwctype>
#include <memory>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

namespace Qv::Core {

std::wstring Widen(std::string_view in) {
    std::wstring out;
    out.reserve(in.size());
    size_t i = 0;
    while (i < in.size()) {
        const auto b0 = static_cast<unsigned char>(in[i]);
        uint32_t cp = 0xFFFD;
        size_t len = 1;
        if (b0 < 0x80) {
            cp = b0;
        } else {
            size_t need = (b0 & 0xE0) == 0xC0 ? 2 : (b0 & 0xF0) == 0xE0 ? 3 : (b0 & 0xF8) == 0xF0 ? 4 : 0;
            if (need != 0 && i + need <= in.size()) {
                uint32_t v = b0 & (0x7F >> need);
                bool ok = true;
                for (size_t k = 1; k < need; ++k) {
                    const auto b = static_cast<unsigned char>(in[i + k]);
                    if ((b & 0xC0) != 0x80) {
                        ok = false;
                        break;
                    }
                    v = (v << 6) | (b & 0x3F);
                }
                static const uint32_t minimum[] = {0, 0, 0x80, 0x800, 0x10000};
                if (ok && v >= minimum[need] && v <= 0x10FFFF && (v < 0xD800 || v > 0xDFFF)) {
                    cp = v;
                    len = need;
                }
            }
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<wchar_t>(0xD800 + (cp >> 10));
            out += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<wchar_t>(cp);
        }
        i += len;
    }
    return out;
}

std::string Narrow(std::wstring_view in) {
    std::string out;
    out.reserve(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        uint32_t cp = static_cast<uint32_t>(in[i]) & 0xFFFF;
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < in.size()) {
            const uint32_t lo = static_cast<uint32_t>(in[i + 1]) & 0xFFFF;
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                ++i;
            } else {
                cp = 0xFFFD;
            }
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = 0xFFFD;
        }
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

std::string DemangledName(const std::type_info& type) {
#if defined(__GNUC__)
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                     &std::free);
    if (status == 0 && name) return name.get();
#endif
    return type.name();
}

std::wstring Lower(std::wstring text) {
    for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(c));
    return text;
}

}  // namespace Qv::Core
