// The code-signature checks for Visual C++ programs: each is the module's own, asked across the
// bridge; the tables and launch rules are copied from the module's on first use.
#include "abi/msvc/Support.h"
#include "qv/CodeSignatures.h"

namespace Qv::Bridge::Security {
namespace {

// A yes-or-no question to the module: `ask` is handed where the answer goes and answers the status.
template <class Ask>
bool Answer(Ask&& ask) {
    int result = 0;
    const int status = ask(&result);
    Boundary::Check(status);
    return status == kQvbDone && result != 0;
}

void AddKey(void* context, const char* key, size_t length) {
    Boundary::Sunk<SignerList>(context, [&](SignerList& table) {
        SignerInfo record;
        record.publicKey = std::string(key, length);
        table.push_back(static_cast<SignerInfo&&>(record));
    });
}

template <int Which>
SignerList* BuildTable() {
    auto* table = new SignerList();
    Boundary::Collect<SignerList> collect{*table};
    const int status = QvbTrustTable(Which, &AddKey, &collect);
    if (status != kQvbDone || collect.failed) {
        delete table;
        throw std::bad_alloc();
    }
    return table;
}

using LaunchRuleTable = std::map<std::wstring, LaunchRule>;

void AddRule(void* context, const QvbText* program, const QvbText* callers, size_t callerCount,
             uint16_t optionAllowed, int hasValidator) {
    Boundary::Sunk<LaunchRuleTable>(context, [&](LaunchRuleTable& rules) {
        LaunchRule rule;
        for (size_t i = 0; i < callerCount; ++i) rule.allowedCallers.push_back(Boundary::Wide(callers[i]));
        rule.optionAllowed = optionAllowed;
        const std::wstring key = Boundary::Wide(*program);
        if (hasValidator != 0) {
            rule.argumentValidator = [key](const std::wstring& arguments) {
                return Answer([&](int* accepted) {
                    return QvbLaunchArgumentsAccepted(key.c_str(), arguments.c_str(), accepted);
                });
            };
        }
        rules.emplace(key, static_cast<LaunchRule&&>(rule));
    });
}

LaunchRuleTable* BuildLaunchRules() {
    auto* rules = new LaunchRuleTable();
    Boundary::Collect<LaunchRuleTable> collect{*rules};
    const int status = QvbLaunchRules(&AddRule, &collect);
    if (status != kQvbDone || collect.failed) {
        delete rules;
        throw std::bad_alloc();
    }
    return rules;
}

void AddSigner(void* context, const QvbSigner* signer) {
    Boundary::Sunk<SignerList>(context, [&](SignerList& signers) {
        SignerInfo record;
        record.publicKey = std::string(signer->publicKey, signer->publicKeyLength);
        record.status = signer->status;
        record.commonName = Boundary::Wide(signer->commonName);
        record.organization = Boundary::Wide(signer->organization);
        record.locality = Boundary::Wide(signer->locality);
        record.state = Boundary::Wide(signer->state);
        record.country = Boundary::Wide(signer->country);
        record.organizationalUnit = Boundary::Wide(signer->organizationalUnit);
        record.issuer = Boundary::Wide(signer->issuer);
        signers.push_back(static_cast<SignerInfo&&>(record));
    });
}

}  // namespace

QVAuthenticodeHelper::QVAuthenticodeHelper() = default;
QVAuthenticodeHelper::~QVAuthenticodeHelper() = default;

bool QVAuthenticodeHelper::IsPathAllowed(const wchar_t* path) {
    return Answer([&](int* allowed) { return QvbIsPathAllowed(path, allowed); });
}

bool QVAuthenticodeHelper::CheckForFullConrolByTrustedInstallAndSystem(const std::wstring& folder) {
    return Answer([&](int* granted) {
        return QvbFullControlOfTrustedInstallerAndSystem(folder.c_str(), folder.size(), granted);
    });
}

QVAuthenticodeFacade::QVAuthenticodeFacade() : implementation_(nullptr) {
    Boundary::Check(QvbFacadeNew(&implementation_));
    if (implementation_ == nullptr) throw std::bad_alloc();
}

QVAuthenticodeFacade::~QVAuthenticodeFacade() { QvbFacadeDelete(implementation_); }

bool QVAuthenticodeFacade::IsTrustedSignedFile(const wchar_t* path) {
    return Answer([&](int* result) { return QvbFacadeCheck(implementation_, kQvbIsTrustedSignedFile, path, result); });
}

bool QVAuthenticodeFacade::IsQvSignedFile(const wchar_t* path) {
    return Answer([&](int* result) { return QvbFacadeCheck(implementation_, kQvbIsQvSignedFile, path, result); });
}

bool QVAuthenticodeFacade::IsDropboxFileTrusted(const wchar_t* path) {
    return Answer([&](int* result) { return QvbFacadeCheck(implementation_, kQvbIsDropboxFileTrusted, path, result); });
}

bool QVAuthenticodeFacade::IsWindowsTrustedFile(const wchar_t* path) {
    return Answer([&](int* result) { return QvbFacadeCheck(implementation_, kQvbIsWindowsTrustedFile, path, result); });
}

bool QVAuthenticodeFacade::HaveSameSigner(const wchar_t* pathA, const wchar_t* pathB) {
    return Answer([&](int* result) { return QvbFacadeHaveSameSigner(implementation_, pathA, pathB, result); });
}

bool QVAuthenticodeFacade::IsPathAllowed(const wchar_t* path) {
    return Answer([&](int* result) { return QvbFacadeCheck(implementation_, kQvbIsPathAllowed, path, result); });
}

bool QVAuthenticodeFacade::IsLaunchAllowed(const wchar_t* programPath, int optionRequested, const wchar_t* arguments,
                                           void* userToken) {
    return Answer([&](int* result) {
        return QvbFacadeIsLaunchAllowed(implementation_, programPath, optionRequested, arguments, userToken, result);
    });
}

bool QVAuthenticodeFacade::IsFileTrusted(const wchar_t* path, const SignerList* table) {
    std::vector<const char*> keys;
    std::vector<size_t> lengths;
    if (table != nullptr) {
        for (const SignerInfo& record : *table) {
            keys.push_back(record.publicKey.c_str());
            lengths.push_back(record.publicKey.size());
        }
    }
    return Answer([&](int* result) {
        return QvbFacadeIsFileTrusted(implementation_, path, table != nullptr ? 1 : 0, keys.data(), lengths.data(),
                                      keys.size(), result);
    });
}

SignerList QVAuthenticodeFacade::GetSigners(const std::wstring& path, bool useCatalog) {
    SignerList signers;
    Boundary::Collect<SignerList> collect{signers};
    Boundary::Check(
        QvbFacadeGetSigners(implementation_, path.c_str(), path.size(), useCatalog ? 1 : 0, &AddSigner, &collect),
        collect);
    return signers;
}

int QVAuthenticodeFacade::GetSecurityCatalogInfo(const wchar_t* path, _WINTRUST_DATA* trustData) {
    const bool pointed = Answer(
        [&](int* result) { return QvbFacadeGetSecurityCatalogInfo(implementation_, path, trustData, result); });
    return pointed ? 1 : 0;
}

const SignerList& QVAuthenticodeFacade::MainTable() {
    return Boundary::BuiltOnce<SignerList, &BuildTable<kQvbMainTable>>::Get();
}

const SignerList& QVAuthenticodeFacade::ExtendedTable() {
    return Boundary::BuiltOnce<SignerList, &BuildTable<kQvbExtendedTable>>::Get();
}

const SignerList& QVAuthenticodeFacade::LaunchArgumentTable() {
    return Boundary::BuiltOnce<SignerList, &BuildTable<kQvbLaunchArgumentTable>>::Get();
}

const std::map<std::wstring, LaunchRule>& QVAuthenticodeFacade::LaunchRules() {
    return Boundary::BuiltOnce<LaunchRuleTable, &BuildLaunchRules>::Get();
}

}  // namespace Qv::Bridge::Security
