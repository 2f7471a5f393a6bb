#include "packages/sim/SimBase64.h"

#include <optional>
#include <utility>

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorInvalidData = 13;
constexpr int32_t kErrorMoreData = 234;
constexpr wchar_t kAlphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Digit(wchar_t c) {
    for (int i = 0; i < 64; ++i)
        if (kAlphabet[i] == c) return i;
    return -1;
}

// The bytes of `text`, or nothing when it is not base64.
std::optional<std::vector<uint8_t>> Convert(const std::wstring& text) {
    std::wstring digits;
    for (wchar_t c : text)
        if (c != L' ' && c != L'\t' && c != L'\r' && c != L'\n') digits.push_back(c);
    if (digits.empty() || digits.size() % 4 != 0) return std::nullopt;
    size_t padding = 0;
    while (padding < 2 && digits[digits.size() - 1 - padding] == L'=') ++padding;
    std::vector<uint8_t> bytes;
    uint32_t group = 0;
    for (size_t i = 0; i < digits.size() - padding; ++i) {
        const int digit = Digit(digits[i]);
        if (digit < 0) return std::nullopt;
        group = (group << 6) | static_cast<uint32_t>(digit);
        if (i % 4 == 3) {
            bytes.push_back(static_cast<uint8_t>(group >> 16));
            bytes.push_back(static_cast<uint8_t>(group >> 8));
            bytes.push_back(static_cast<uint8_t>(group));
            group = 0;
        }
    }
    if (padding == 1) {
        group <<= 6;
        bytes.push_back(static_cast<uint8_t>(group >> 16));
        bytes.push_back(static_cast<uint8_t>(group >> 8));
    } else if (padding == 2) {
        group <<= 12;
        bytes.push_back(static_cast<uint8_t>(group >> 16));
    }
    return bytes;
}

}  // namespace

platform::Result<size_t> SimBase64::DecodedSize(const std::wstring& text) {
    QV_SIM_FAULT(faults_, Base64);
    auto bytes = Convert(text);
    if (!bytes) return platform::Failure{kErrorInvalidData};
    return bytes->size();
}

platform::Result<std::vector<uint8_t>> SimBase64::Decode(const std::wstring& text, size_t size) {
    QV_SIM_FAULT(faults_, Base64);
    auto bytes = Convert(text);
    if (!bytes) return platform::Failure{kErrorInvalidData};
    if (bytes->size() > size) return platform::Failure{kErrorMoreData};
    return *bytes;
}

platform::Result<std::wstring> SimBase64::Encode(const std::vector<uint8_t>& bytes) {
    QV_SIM_FAULT(faults_, Base64);
    std::wstring text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t left = bytes.size() - i;
        uint32_t group = static_cast<uint32_t>(bytes[i]) << 16;
        if (left > 1) group |= static_cast<uint32_t>(bytes[i + 1]) << 8;
        if (left > 2) group |= bytes[i + 2];
        text += kAlphabet[(group >> 18) & 63];
        text += kAlphabet[(group >> 12) & 63];
        text += left > 1 ? kAlphabet[(group >> 6) & 63] : L'=';
        text += left > 2 ? kAlphabet[group & 63] : L'=';
    }
    return text;
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IBase64> Qv::platform::IBase64::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimBase64>(Qv::Sim::FaultsOf(platform));
}
