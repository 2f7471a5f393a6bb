#pragma once
// The signed client manifest: the file set QVManifest.xml and its signature beside a client
// executable (or in a package folder), in a folder its user cannot write, signed by a key of the
// main table; and whether it allows a request (a command number and its JSON arguments).
// The format and each rule: docs/security.md#the-signed-client-manifest.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "manifest/XmlNode.h"
#include "platform/platform.h"

namespace Qv::Manifest {

inline constexpr wchar_t kManifestFile[] = L"QVManifest.xml";
inline constexpr wchar_t kSignatureFile[] = L"QVManifest.p7s";
inline constexpr size_t kMaxManifestBytes = 256 * 1024;
inline constexpr size_t kMaxSignatureBytes = 64 * 1024;

// Whether a request is allowed, and what decided it ("command 91: IValue by numeric_range").
struct Verdict {
    bool allowed = false;
    std::wstring decidedBy;
};

class ClientManifest {
public:
    // The manifest of the client at `client`: an executable or library (its folder), the
    // manifest file itself, or a folder (a package's). Nothing, with `problem` saying why, when
    // it is missing, unsigned, signed by a key not in the main table, changed since it was
    // signed, in a folder the client's user can write, or not a manifest.
    static std::shared_ptr<const ClientManifest> Load(platform::Platform& platform, const std::wstring& client,
                                                      std::wstring& problem);

    Verdict Allows(uint32_t command, const std::wstring& arguments) const;

    const XmlNode& Root() const { return root_; }
    // "QVManifest.p7s" or "a catalog of the system".
    const std::wstring& SignedThrough() const { return signedThrough_; }

private:
    XmlNode root_;
    std::wstring signedThrough_;
};

}  // namespace Qv::Manifest
