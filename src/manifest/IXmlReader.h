#pragma once
// XML documents read into trees: the system's XmlLite on Windows, expat natively.
#include <cstddef>
#include <memory>
#include <string>

#include "manifest/XmlNode.h"
#include "platform/Result.h"

namespace Qv::platform {
class Platform;
}

namespace Qv::Manifest {

// What a document may be: larger, deeper or with more elements is refused, and so is any
// document type declaration (no DTD, no entity of its own, nothing fetched from elsewhere).
struct XmlLimits {
    size_t maxBytes = 256 * 1024;
    size_t maxDepth = 32;
    size_t maxElements = 10000;
};

class IXmlReader {
public:
    // Why a document was refused, beside the parser's own statuses.
    static constexpr int32_t kTooLarge = 223;       // ERROR_FILE_TOO_LARGE
    static constexpr int32_t kTooDeep = 0x8007006F;  // beyond maxDepth or maxElements
    static constexpr int32_t kDocumentType = static_cast<int32_t>(0xC00CEE4F);  // a DTD, refused

    virtual ~IXmlReader() = default;
    // The root element of a UTF-8 document (a byte-order mark allowed); the parser's status
    // when it is not well-formed or breaks a limit.
    virtual platform::Result<XmlNode> Parse(const std::string& document, const XmlLimits& limits) = 0;

    static std::shared_ptr<IXmlReader> Make(platform::Platform& platform);
};

}  // namespace Qv::Manifest
