// Base64 through the system's cryptography library (crypt32): the size call, then the bytes.
#include <windows.h>
#include <wincrypt.h>

#include "packages/IBase64.h"

namespace Qv::platform::windows {
namespace {

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

class WinBase64 : public IBase64 {
public:
    Result<size_t> DecodedSize(const std::wstring& text) override {
        DWORD size = 0;
        if (!CryptStringToBinaryW(text.c_str(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64, nullptr, &size,
                                  nullptr, nullptr))
            return LastError();
        return static_cast<size_t>(size);
    }

    Result<std::vector<uint8_t>> Decode(const std::wstring& text, size_t size) override {
        std::vector<uint8_t> bytes(size);
        DWORD length = static_cast<DWORD>(size);
        if (!CryptStringToBinaryW(text.c_str(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64, bytes.data(),
                                  &length, nullptr, nullptr))
            return LastError();
        bytes.resize(length);
        return bytes;
    }

    Result<std::wstring> Encode(const std::vector<uint8_t>& bytes) override {
        constexpr DWORD kFlags = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
        DWORD length = 0;
        if (!CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), kFlags, nullptr, &length))
            return LastError();
        std::wstring text(length, L'\0');
        if (!CryptBinaryToStringW(bytes.data(), static_cast<DWORD>(bytes.size()), kFlags, text.data(), &length))
            return LastError();
        text.resize(length);  // the second call counts without the terminator
        return text;
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IBase64> Qv::platform::IBase64::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinBase64>();
}
