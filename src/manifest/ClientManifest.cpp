#include "manifest/ClientManifest.h"

#include <algorithm>
#include <cwchar>

#include "core/json.h"
#include "core/logging.h"
#include "core/strings.h"
#include "manifest/IDetachedSignatures.h"
#include "manifest/IXmlReader.h"
#include "manifest/ManifestRules.h"
#include "platform/UserPaths.h"
#include "security/Authenticode.h"

namespace Qv::Manifest {
namespace {

using Bridge::Logging::LogManager;
using Bridge::Security::SignerInfo;
using Bridge::Security::SignerList;

constexpr int32_t kNotFound = 2;
constexpr int32_t kPathNotFound = 3;

bool EndsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The folder a client names: an executable's, a library's or the manifest's own folder, or the
// folder itself.
std::wstring FolderOf(std::wstring client) {
    while (client.size() > 3 && (client.back() == L'\\' || client.back() == L'/')) client.pop_back();
    const size_t slash = client.find_last_of(L"\\/");
    const std::wstring last = Core::Lower(slash == std::wstring::npos ? client : client.substr(slash + 1));
    if (EndsWith(last, L".exe") || EndsWith(last, L".dll") || last == Core::Lower(kManifestFile))
        return slash == std::wstring::npos ? L"" : client.substr(0, slash);
    return client;
}

bool InMainTable(const std::string& key) {
    const SignerList& main = Bridge::Security::TrustTables::Builtin().main;
    return std::any_of(main.begin(), main.end(), [&](const SignerInfo& record) { return record.publicKey == key; });
}

std::wstring StatusText(int32_t status) {
    wchar_t text[16] = {};
    swprintf(text, 16, L"0x%08x", static_cast<unsigned int>(status));
    return text;
}

// A request's value as the rules read it: a string as it is, a number in decimal, true or false.
std::optional<std::wstring> ValueText(const Json::Value& value) {
    if (value.IsString()) return std::wstring(value.GetString(), value.GetStringLength());
    if (value.IsInt64()) return std::to_wstring(value.GetInt64());
    if (value.IsUint64()) return std::to_wstring(value.GetUint64());
    if (value.IsBool()) return std::wstring(value.GetBool() ? L"true" : L"false");
    return std::nullopt;
}

}  // namespace

std::shared_ptr<const ClientManifest> ClientManifest::Load(platform::Platform& platform, const std::wstring& client,
                                                           std::wstring& problem) {
    auto* logger = LogManager::GetLogger();
    const auto refuse = [&](const std::wstring& why) {
        problem = why;
        logger->LogWarning(L"ClientManifest - refused the manifest of %s: %s", client.c_str(), why.c_str());
        return nullptr;
    };
    const std::wstring folder = FolderOf(client);
    if (folder.empty()) return refuse(L"no folder to look in");
    // One canonical path is checked, read and verified: "..", links of names and variables
    // resolved before the folder is judged.
    const std::wstring manifest = platform::UserPaths(platform).GeneralForm((folder + L"\\" + kManifestFile).c_str());
    if (manifest.empty()) return refuse(L"its path cannot be made absolute");
    if (!Bridge::Security::QVAuthenticodeHelper(platform).IsPathAllowed(manifest.c_str()))
        return refuse(L"QVManifest.xml is in a folder its user can write: " + manifest);

    auto xml = platform.Files().ReadFile(manifest, kMaxManifestBytes);
    if (!xml) return refuse(L"QVManifest.xml cannot be read (" + StatusText(xml.Status()) + L")");

    auto made = std::make_shared<ClientManifest>();
    const std::wstring signaturePath = manifest.substr(0, manifest.size() - 4) + L".p7s";
    auto signature = platform.Files().ReadFile(signaturePath, kMaxSignatureBytes);
    if (signature) {
        // The signature is checked on the bytes that are then parsed: nothing is read twice.
        auto key = platform.AreaPort<IDetachedSignatures>().SignerKey(*xml, *signature);
        if (!key) return refuse(L"QVManifest.p7s is not a valid signature of it (" + StatusText(key.Status()) + L")");
        if (!InMainTable(Bridge::Security::FormatPublicKey(*key)))
            return refuse(L"QVManifest.p7s is by a key that is not trusted for manifests");
        made->signedThrough_ = kSignatureFile;
    } else if (signature.Status() == kNotFound || signature.Status() == kPathNotFound) {
        // No signature file: a catalog of the system may list the manifest.
        Bridge::Security::QVAuthenticodeFacade facade(platform, Bridge::Security::TrustTables::Builtin());
        const SignerList signers = facade.GetSigners(manifest, true);
        const bool listed = Bridge::Security::IsTrustedBySystem(signers) &&
                            std::any_of(signers.begin(), signers.end(),
                                        [](const SignerInfo& signer) { return InMainTable(signer.publicKey); });
        if (!listed) return refuse(L"no QVManifest.p7s, and no catalog of the system lists it under a trusted key");
        made->signedThrough_ = L"a catalog of the system";
    } else {
        return refuse(L"QVManifest.p7s cannot be read (" + StatusText(signature.Status()) + L")");
    }

    auto root = platform.AreaPort<IXmlReader>().Parse(*xml, XmlLimits{});
    if (!root) return refuse(L"QVManifest.xml is not a well-formed document within the limits (" +
                             StatusText(root.Status()) + L")");
    const std::wstring* version = root->Attribute(L"version");
    if (root->name != L"QVManifest" || version == nullptr || *version != L"1")
        return refuse(L"QVManifest.xml is not a manifest of version 1");
    made->root_ = std::move(*root);
    logger->LogInfo(L"ClientManifest - the manifest of %s is signed through %s", client.c_str(),
                    made->signedThrough_.c_str());
    return made;
}

Verdict ClientManifest::Allows(uint32_t command, const std::wstring& arguments) const {
    const std::wstring subject = L"command " + std::to_wstring(command);
    Json::Document request;
    if (!Json::ParseRequest(request, arguments.empty() ? L"{}" : arguments.c_str()) || !request.IsObject())
        return {false, subject + L": the arguments are not a JSON object"};

    const XmlNode* rules = nullptr;
    for (const XmlNode* entry : root_.Children(L"Command")) {
        const std::wstring* number = entry->Attribute(L"number");
        if (number != nullptr && *number == std::to_wstring(command)) {
            rules = entry;
            break;
        }
    }
    if (rules == nullptr) return {false, subject + L" is not in the manifest"};

    const auto listed = rules->Children(L"Argument");
    for (auto member = request.MemberBegin(); member != request.MemberEnd(); ++member) {
        const std::wstring name(member->name.GetString(), member->name.GetStringLength());
        const bool named = std::any_of(listed.begin(), listed.end(), [&](const XmlNode* argument) {
            const std::wstring* argumentName = argument->Attribute(L"name");
            return argumentName != nullptr && *argumentName == name;
        });
        if (!named) return {false, subject + L": the argument " + name + L" is not in the manifest"};
    }
    std::wstring decided;
    for (const XmlNode* argument : listed) {
        const std::wstring* name = argument->Attribute(L"name");
        const std::wstring* rule = argument->Attribute(L"rule");
        if (name == nullptr || rule == nullptr) return {false, subject + L": an argument without a name or rule"};
        const Json::Value* member = Json::FindMember(request, name->c_str());
        if (member == nullptr) return {false, subject + L": the argument " + *name + L" is missing"};
        const auto value = ValueText(*member);
        if (!value) return {false, subject + L": the argument " + *name + L" is not a single value"};
        if (!EvaluateRule(*rule, *argument, *value))
            return {false, subject + L": " + *name + L" refused by " + *rule};
        decided += (decided.empty() ? L"" : L", ") + *name + L" by " + *rule;
    }
    return {true, subject + L": " + (decided.empty() ? std::wstring(L"no arguments") : decided)};
}

}  // namespace Qv::Manifest
