// The module's side of the exported classes' bridge (abi/msvc/ClassBridge.h): each call converts
// the plain records to the module's own classes, asks them, and hands the answer back through
// the caller's sink. Nothing is thrown out of here.
#include "abi/msvc/ClassBridge.h"

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "areas/device-info/DeviceInfoHelper.h"
#include "manifest/ClientManifest.h"
#include "manifest/IXmlReader.h"
#include "manifest/ManifestRules.h"
#include "packages/CryptographyHelper.h"
#include "packages/UwpPackageDataAccess.h"
#include "security/Authenticode.h"
#include "security/ExemptionRules.h"
#include "security/RpcSecurityHelper.h"

namespace {

using namespace Qv::Bridge;
using Server::Uwp::UwpInformation;
using Server::Win32::Win32Information;

// Runs `work`, answering how it ended.
template <class Work>
int Guarded(Work&& work) noexcept {
    try {
        work();
        return kQvbDone;
    } catch (const std::bad_alloc&) {
        return kQvbOutOfMemory;
    } catch (...) {
        return kQvbFailed;
    }
}

std::wstring Text(const QvbText& text) { return text.text != nullptr ? std::wstring(text.text, text.length) : L""; }
std::wstring Text(const wchar_t* text, size_t length) { return text != nullptr ? std::wstring(text, length) : L""; }
QvbText View(const std::wstring& text) { return {text.c_str(), text.size()}; }

void Hand(QvbTextSink sink, void* context, const std::wstring& text) {
    if (sink != nullptr) sink(context, text.c_str(), text.size());
}

UwpInformation StoreApp(const QvbClient& client) {
    return UwpInformation(Text(client.first), Text(client.second), client.major, client.minor);
}

Win32Information Executable(const QvbClient& client) {
    return Win32Information(Text(client.first), Text(client.second), client.major, client.minor);
}

template <class List, class Make>
std::shared_ptr<List> ListOf(const QvbClient* list, size_t count, int hasList, Make make) {
    if (hasList == 0) return nullptr;
    auto made = std::make_shared<List>();
    for (size_t i = 0; i < count; ++i) made->emplace_back(make(list[i]), Security::MatchingDescriptor::Exempt);
    return made;
}

int HandExcused(const Security::ExcusedClient* begin, const Security::ExcusedClient* end, QvbClientSink sink,
                void* context) {
    return Guarded([&] {
        for (const Security::ExcusedClient* excused = begin; excused != end; ++excused) {
            const std::wstring first = excused->first;
            const std::wstring second = excused->second;
            const QvbClient client{View(first), View(second), excused->major, excused->minor};
            sink(context, &client);
        }
    });
}

const Security::SignerList& Table(int table) {
    const Security::TrustTables& tables = Security::TrustTables::Builtin();
    switch (table) {
        case kQvbMainTable:
            return tables.main;
        case kQvbExtendedTable:
            return tables.extended;
        case kQvbLaunchArgumentTable:
            return tables.launchArgument;
        default:
            throw std::invalid_argument("no such table");
    }
}

// A node of the consumer's, no deeper than a manifest may be.
bool NodeOf(const QvbManifestNode& from, Qv::Manifest::XmlNode& to, size_t depth) {
    if (depth > Qv::Manifest::XmlLimits{}.maxDepth) return false;
    to.name = Text(from.name);
    to.text = Text(from.text);
    for (size_t i = 0; i < from.attributeCount; ++i)
        to.attributes.emplace_back(Text(from.attributeNames[i]), Text(from.attributeValues[i]));
    to.children.resize(from.childCount);
    for (size_t i = 0; i < from.childCount; ++i)
        if (!NodeOf(from.children[i], to.children[i], depth + 1)) return false;
    return true;
}

Security::QVAuthenticodeFacade& Facade(void* facade) { return *static_cast<Security::QVAuthenticodeFacade*>(facade); }
Server::Uwp::UwpPackageDataAccess& Packages(void* packages) {
    return *static_cast<Server::Uwp::UwpPackageDataAccess*>(packages);
}

}  // namespace

extern "C" {

int QvbStoreAppIsExempt(const QvbClient* list, size_t count, int hasList, const QvbClient* client, int* exempt) {
    return Guarded([&] {
        Security::UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion criterion(
            ListOf<Security::UwpExemptionList>(list, count, hasList, StoreApp),
            client != nullptr ? std::make_shared<UwpInformation>(StoreApp(*client)) : nullptr);
        *exempt = criterion.IsAnException() ? 1 : 0;
    });
}

int QvbExecutableIsExempt(const QvbClient* list, size_t count, int hasList, const QvbClient* client, int* exempt,
                          QvbTextSink foldedPath, void* context) {
    return Guarded([&] {
        auto record = client != nullptr ? std::make_shared<Win32Information>(Executable(*client)) : nullptr;
        Security::Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion criterion(
            ListOf<Security::Win32ExemptionList>(list, count, hasList, Executable), record);
        *exempt = criterion.IsAnException() ? 1 : 0;
        if (record) Hand(foldedPath, context, record->path);
    });
}

int QvbStoreAppExemptions(QvbClientSink sink, void* context) {
    return HandExcused(std::begin(Security::kExcusedStoreApps), std::end(Security::kExcusedStoreApps), sink, context);
}

int QvbExecutableExemptions(QvbClientSink sink, void* context) {
    return HandExcused(std::begin(Security::kExcusedExecutables), std::end(Security::kExcusedExecutables), sink,
                       context);
}

int QvbTrustTable(int table, QvbKeySink sink, void* context) {
    return Guarded([&] {
        for (const Security::SignerInfo& record : Table(table))
            sink(context, record.publicKey.c_str(), record.publicKey.size());
    });
}

int QvbLaunchRules(QvbLaunchRuleSink sink, void* context) {
    return Guarded([&] {
        for (const auto& [program, rule] : Security::LaunchRules()) {
            std::vector<QvbText> callers;
            for (const std::wstring& caller : rule.allowedCallers) callers.push_back(View(caller));
            const QvbText key = View(program);
            sink(context, &key, callers.data(), callers.size(), rule.optionAllowed, rule.argumentValidator ? 1 : 0);
        }
    });
}

int QvbLaunchArgumentsAccepted(const wchar_t* program, const wchar_t* arguments, int* accepted) {
    return Guarded([&] {
        const auto& rules = Security::LaunchRules();
        const auto rule = rules.find(program != nullptr ? program : L"");
        if (rule == rules.end() || !rule->second.argumentValidator) {
            *accepted = 1;
            return;
        }
        Security::QVAuthenticodeFacade facade;
        *accepted = rule->second.argumentValidator(facade, arguments != nullptr ? arguments : L"") ? 1 : 0;
    });
}

int QvbIsPathAllowed(const wchar_t* path, int* allowed) {
    return Guarded([&] { *allowed = Security::QVAuthenticodeHelper().IsPathAllowed(path) ? 1 : 0; });
}

int QvbFullControlOfTrustedInstallerAndSystem(const wchar_t* folder, size_t length, int* granted) {
    return Guarded([&] {
        *granted = Security::QVAuthenticodeHelper().CheckForFullConrolByTrustedInstallAndSystem(Text(folder, length))
                       ? 1
                       : 0;
    });
}

int QvbFacadeNew(void** facade) {
    return Guarded([&] { *facade = new Security::QVAuthenticodeFacade(); });
}

void QvbFacadeDelete(void* facade) { delete static_cast<Security::QVAuthenticodeFacade*>(facade); }

int QvbFacadeCheck(void* facade, int check, const wchar_t* path, int* result) {
    return Guarded([&] {
        Security::QVAuthenticodeFacade& checks = Facade(facade);
        switch (check) {
            case kQvbIsTrustedSignedFile:
                *result = checks.IsTrustedSignedFile(path);
                break;
            case kQvbIsQvSignedFile:
                *result = checks.IsQvSignedFile(path);
                break;
            case kQvbIsDropboxFileTrusted:
                *result = checks.IsDropboxFileTrusted(path);
                break;
            case kQvbIsWindowsTrustedFile:
                *result = checks.IsWindowsTrustedFile(path);
                break;
            case kQvbIsPathAllowed:
                *result = checks.IsPathAllowed(path);
                break;
            default:
                throw std::invalid_argument("no such check");
        }
    });
}

int QvbFacadeHaveSameSigner(void* facade, const wchar_t* pathA, const wchar_t* pathB, int* result) {
    return Guarded([&] { *result = Facade(facade).HaveSameSigner(pathA, pathB) ? 1 : 0; });
}

int QvbFacadeIsLaunchAllowed(void* facade, const wchar_t* program, int option, const wchar_t* arguments,
                             void* userToken, int* result) {
    return Guarded([&] { *result = Facade(facade).IsLaunchAllowed(program, option, arguments, userToken) ? 1 : 0; });
}

int QvbFacadeIsFileTrusted(void* facade, const wchar_t* path, int hasTable, const char* const* keys,
                           const size_t* keyLengths, size_t count, int* result) {
    return Guarded([&] {
        Security::SignerList table;
        for (size_t i = 0; i < count; ++i) {
            Security::SignerInfo record;
            record.publicKey.assign(keys[i], keyLengths[i]);
            table.push_back(std::move(record));
        }
        *result = Facade(facade).IsFileTrusted(path, hasTable != 0 ? &table : nullptr) ? 1 : 0;
    });
}

int QvbFacadeGetSigners(void* facade, const wchar_t* path, size_t length, int useCatalog, QvbSignerSink sink,
                        void* context) {
    return Guarded([&] {
        for (const Security::SignerInfo& signer : Facade(facade).GetSigners(Text(path, length), useCatalog != 0)) {
            const QvbSigner record{signer.publicKey.c_str(),       signer.publicKey.size(),  signer.status,
                                   View(signer.commonName),        View(signer.organization), View(signer.locality),
                                   View(signer.state),             View(signer.country),
                                   View(signer.organizationalUnit), View(signer.issuer)};
            sink(context, &record);
        }
    });
}

int QvbFacadeGetSecurityCatalogInfo(void* facade, const wchar_t* path, void* trustData, int* result) {
    return Guarded([&] { *result = Facade(facade).GetSecurityCatalogInfo(path, trustData); });
}

int QvbCallerFamilyName(const QvbProcessHandle* handles, size_t count, QvbTextSink sink, void* context) {
    return Guarded([&] {
        Security::RpcSecurityHelper helper;
        // Lent: the caller's helper owns the handles and closes them.
        for (size_t i = 0; i < count; ++i)
            helper.ProcessHandles()[handles[i].processId] = Qv::platform::OwnedHandle(handles[i].handle, [](void*) {});
        Hand(sink, context, helper.GetPFNOfCaller());
    });
}

void QvbCloseProcessHandles(const QvbProcessHandle* handles, size_t count) {
    (void)Guarded([&] {
        for (size_t i = 0; i < count; ++i)
            if (handles[i].handle != nullptr) Qv::platform::Current().Rpc().Adopt(handles[i].handle).reset();
    });
}

int QvbPackagesNew(void** packages) {
    return Guarded([&] { *packages = new Server::Uwp::UwpPackageDataAccess(); });
}

void QvbPackagesDelete(void* packages) { delete static_cast<Server::Uwp::UwpPackageDataAccess*>(packages); }

int QvbPackagesPerUser(void* packages, const wchar_t* familyName, size_t length, QvbPackageUserSink sink,
                       void* context) {
    return Guarded([&] {
        for (const auto& model : Packages(packages).GetPackagesPerUser(Text(familyName, length)))
            if (model) sink(context, model->UserName().c_str(), model->UserName().size(), model->InstallState());
    });
}

int QvbPackageFullName(void* packages, const wchar_t* familyName, size_t length, QvbTextSink sink, void* context) {
    return Guarded([&] { Hand(sink, context, Packages(packages).GetPackageFullName(Text(familyName, length))); });
}

int QvbRegisterPackage(void* packages, const wchar_t* familyName, size_t length, int* registered) {
    return Guarded([&] { *registered = Packages(packages).RegisterPackage(Text(familyName, length)) ? 1 : 0; });
}

int QvbFindPackages(void* packages, const wchar_t* publisherId, size_t publisherIdLength, const wchar_t* appName,
                    size_t appNameLength, int* found) {
    return Guarded([&] {
        *found = Packages(packages).FindPackages(Text(publisherId, publisherIdLength), Text(appName, appNameLength))
                     ? 1
                     : 0;
    });
}

int QvbPackagesOfFamily(void* packages, const wchar_t* familyName, size_t length, QvbPackageSink sink,
                        void* context) {
    return Guarded([&] {
        for (const Server::Uwp::UwpPackage& package : Packages(packages).GetPackages(Text(familyName, length))) {
            const QvbPackage record{View(package.name),     View(package.publisher), View(package.publisherId),
                                    View(package.familyName), View(package.fullName), View(package.version),
                                    View(package.installLocation)};
            sink(context, &record);
        }
    });
}

int QvbDecodeBase64(const wchar_t* text, size_t length, QvbBytesSink sink, void* context) {
    return Guarded([&] {
        const std::vector<uint8_t> bytes =
            Server::Services::Registration::CryptographyHelper().DecodeBase64(Text(text, length));
        sink(context, bytes.data(), bytes.size());
    });
}

int QvbEncodeBase64(const uint8_t* bytes, size_t length, QvbTextSink sink, void* context) {
    return Guarded([&] {
        const std::vector<uint8_t> data = bytes != nullptr ? std::vector<uint8_t>(bytes, bytes + length)
                                                           : std::vector<uint8_t>{};
        Hand(sink, context, Server::Services::Registration::CryptographyHelper().EncodeBase64(data));
    });
}

int QvbDeviceText(int which, QvbTextSink sink, void* context) {
    using Server::Services::DeviceControl::DeviceInfoHelper;
    return Guarded([&] {
        DeviceInfoHelper& info = *DeviceInfoHelper::GetInstance();
        switch (which) {
            case kQvbHostname:
                return Hand(sink, context, info.GetHostname());
            case kQvbProcessorName:
                return Hand(sink, context, info.GetProcessorName());
            case kQvbProductName:
                return Hand(sink, context, info.GetProductName());
            case kQvbProductNumber:
                return Hand(sink, context, info.GetProductNumber());
            case kQvbSerialNumber:
                return Hand(sink, context, info.GetSerialNumber());
            default:
                throw std::invalid_argument("no such property");
        }
    });
}

int QvbInstalledMemory(unsigned long long* bytes) {
    using Server::Services::DeviceControl::DeviceInfoHelper;
    return Guarded([&] { *bytes = DeviceInfoHelper::GetInstance()->GetInstalledRAM(); });
}

int QvbManifestRuleTypes(QvbTextSink sink, void* context) {
    return Guarded([&] {
        for (const Qv::Manifest::RuleType& type : Qv::Manifest::RuleTypes())
            Hand(sink, context, std::wstring(type.name));
    });
}

int QvbEvaluateManifestRule(const wchar_t* type, size_t typeLength, const QvbManifestNode* rule,
                            const wchar_t* value, size_t valueLength, int* result) {
    return Guarded([&] {
        Qv::Manifest::XmlNode node;
        *result = rule != nullptr && NodeOf(*rule, node, 1) &&
                          Qv::Manifest::EvaluateRule(Text(type, typeLength), node, Text(value, valueLength))
                      ? 1
                      : 0;
    });
}

int QvbManifestLoad(const wchar_t* client, size_t length, void** manifest, QvbTextSink problem, void* context) {
    return Guarded([&] {
        std::wstring why;
        auto loaded = Qv::Manifest::ClientManifest::Load(Qv::platform::Current(), Text(client, length), why);
        *manifest = loaded ? new std::shared_ptr<const Qv::Manifest::ClientManifest>(std::move(loaded)) : nullptr;
        if (*manifest == nullptr) Hand(problem, context, why);
    });
}

void QvbManifestDelete(void* manifest) {
    delete static_cast<std::shared_ptr<const Qv::Manifest::ClientManifest>*>(manifest);
}

int QvbManifestAllows(const void* manifest, uint32_t command, const wchar_t* arguments, size_t length, int* allowed,
                      QvbTextSink decidedBy, void* context) {
    return Guarded([&] {
        const auto& loaded = *static_cast<const std::shared_ptr<const Qv::Manifest::ClientManifest>*>(manifest);
        const Qv::Manifest::Verdict verdict = loaded->Allows(command, Text(arguments, length));
        *allowed = verdict.allowed ? 1 : 0;
        Hand(decidedBy, context, verdict.decidedBy);
    });
}

}  // extern "C"
