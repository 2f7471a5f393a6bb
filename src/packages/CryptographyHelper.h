#pragma once
// Base64 for the registration services: no state of its own.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::Registration {

class CryptographyHelper {
public:
    CryptographyHelper();  // on the installed platform
    explicit CryptographyHelper(platform::Platform& platform);

    // The bytes of a base64 text; empty (logged) when it is not base64 or cannot be decoded.
    std::vector<uint8_t> DecodeBase64(const std::wstring& text) const;
    // The base64 text of `bytes`, on one line; empty for no bytes or a failure (logged).
    std::wstring EncodeBase64(const std::vector<uint8_t>& bytes) const;

private:
    platform::Platform* platform_;
    platform::Platform& Ports() const { return platform_ != nullptr ? *platform_ : platform::Current(); }
};

}  // namespace Qv::Bridge::Server::Services::Registration
