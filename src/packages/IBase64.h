#pragma once
// Base64 as the system's cryptography library does it: a size call, then the conversion.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Result.h"

namespace Qv::platform {

class Platform;

class IBase64 {
public:
    virtual ~IBase64() = default;
    // How many bytes `text` decodes to; a failure for a text that is not base64.
    virtual Result<size_t> DecodedSize(const std::wstring& text) = 0;
    // The bytes, into a buffer of `size` bytes.
    virtual Result<std::vector<uint8_t>> Decode(const std::wstring& text, size_t size) = 0;
    // The base64 text of `bytes`, on one line.
    virtual Result<std::wstring> Encode(const std::vector<uint8_t>& bytes) = 0;

    static std::shared_ptr<IBase64> Make(Platform& platform);
};

}  // namespace Qv::platform
