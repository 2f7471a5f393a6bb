#include "packages/CryptographyHelper.h"

#include "core/logging.h"
#include "packages/IBase64.h"

namespace Qv::Bridge::Server::Services::Registration {

using Logging::LogManager;

CryptographyHelper::CryptographyHelper() : platform_(nullptr) {}
CryptographyHelper::CryptographyHelper(platform::Platform& platform) : platform_(&platform) {}

std::vector<uint8_t> CryptographyHelper::DecodeBase64(const std::wstring& text) const {
    platform::IBase64& base64 = Ports().AreaPort<platform::IBase64>();
    auto size = base64.DecodedSize(text);
    if (!size) {
        LogManager::GetLogger()->LogError(L"Problem while finding the count of bytes to decode from base64.");
        return {};
    }
    auto bytes = base64.Decode(text, *size);
    if (!bytes) {
        LogManager::GetLogger()->LogError(L"Problem while decoding from base64. %i", bytes.Status());
        return {};
    }
    return *bytes;
}

std::wstring CryptographyHelper::EncodeBase64(const std::vector<uint8_t>& bytes) const {
    if (bytes.empty()) return {};
    auto text = Ports().AreaPort<platform::IBase64>().Encode(bytes);
    if (!text) {
        Logging::LogApiError(LogManager::GetLogger(), "CryptographyHelper", "EncodeBase64", L"CryptBinaryToStringW",
                             text.Status());
        return {};
    }
    return *text;
}

}  // namespace Qv::Bridge::Server::Services::Registration
