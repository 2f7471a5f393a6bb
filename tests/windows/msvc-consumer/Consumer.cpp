// A Visual C++ program of the service family, compiled for the Microsoft C++ ABI and linked
// against DeviceControlService.lib: it admits clients as the host does, asks who is calling,
// checks files, queries packages and encodes base64 through the exported classes, copies and
// destroys every record, and at the end finds every block either side allocated freed once.
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ConsumerRuntime.h"
#include "qv/ClientInformation.h"
#include "qv/ClientManifest.h"
#include "qv/CodeSignatures.h"
#include "qv/DeviceInformation.h"
#include "qv/Exemptions.h"
#include "qv/StorePackages.h"

extern "C" {
__declspec(dllimport) void QVBoundaryHeapCounts(long long* allocated, long long* freed);
__declspec(dllimport) unsigned long __stdcall GetModuleFileNameW(void* module, wchar_t* path, unsigned long size);
__declspec(dllimport) int __stdcall CopyFileW(const wchar_t* from, const wchar_t* to, int failIfExists);
__declspec(dllimport) int __stdcall CreateDirectoryW(const wchar_t* path, void* security);
__declspec(dllimport) void* __stdcall CreateFileW(const wchar_t* path, unsigned long access, unsigned long share,
                                                  void* security, unsigned long disposition, unsigned long flags,
                                                  void* templateFile);
__declspec(dllimport) int __stdcall ReadFile(void* file, void* bytes, unsigned long count, unsigned long* read,
                                            void* overlapped);
__declspec(dllimport) int __stdcall CloseHandle(void* handle);
__declspec(dllimport) void* __stdcall GetCurrentProcess();
__declspec(dllimport) unsigned long __stdcall GetCurrentProcessId();
__declspec(dllimport) int __stdcall DuplicateHandle(void* sourceProcess, void* source, void* targetProcess,
                                                   void** target, unsigned long access, int inherit,
                                                   unsigned long options);
__declspec(dllimport) int __stdcall GetHandleInformation(void* handle, unsigned long* flags);
}

namespace {

using namespace Qv::Bridge::Security;
using Qv::Bridge::Server::ClientType;
using Qv::Bridge::Server::IClientInformation;
using Qv::Bridge::Server::Uwp::UwpInformation;
using Qv::Bridge::Server::Uwp::UwpPackage;
using Qv::Bridge::Server::Uwp::UwpPackageDataAccess;
using Qv::Bridge::Server::Uwp::UwpPackageModel;
using Qv::Bridge::Server::Win32::Win32Information;
using Qv::Bridge::Server::Services::Registration::CryptographyHelper;
using Consumer::Print;

int passed = 0;
int failed = 0;

void Check(bool condition, const char* what, int line) {
    if (condition) {
        ++passed;
        return;
    }
    ++failed;
    Print("FAILED line ");
    Print(static_cast<long long>(line));
    Print(": ");
    Print(what);
    Print("\n");
}

#define CHECK(condition) Check((condition), #condition, __LINE__)

bool Equal(const char* a, const char* b) {
    while (*a != 0 && *a == *b) ++a, ++b;
    return *a == *b;
}

// Texts of every size class: empty, within the small buffer, beyond it, and of 4096 bytes and
// more (allocated with the block's address stored before it).
const std::wstring kEmpty;
const std::wstring kShort = L"Tansy";
const std::wstring kLong(2100, L'x');

long long Live() {
    long long allocated = 0;
    long long freed = 0;
    QVBoundaryHeapCounts(&allocated, &freed);
    return Consumer::heap.allocations + allocated - Consumer::heap.frees - freed;
}

std::wstring ExeFolder() {
    wchar_t path[260] = {};
    const unsigned long length = GetModuleFileNameW(nullptr, path, 260);
    std::wstring folder(path, length);
    size_t slash = folder.size();
    while (slash > 0 && folder[slash - 1] != L'\\') --slash;
    return std::wstring(folder.c_str(), slash);
}

std::string ReadText(const std::wstring& path) {
    std::string text;
    void* file = CreateFileW(path.c_str(), 0x80000000u, 1, nullptr, 3, 0, nullptr);
    if (file == reinterpret_cast<void*>(-1)) return text;
    char buffer[512];
    unsigned long read = 0;
    while (ReadFile(file, buffer, sizeof(buffer), &read, nullptr) != 0 && read > 0) text.append(buffer, read);
    CloseHandle(file);
    while (!text.empty() && (text[text.size() - 1] == '\n' || text[text.size() - 1] == '\r')) {
        std::string trimmed(text.c_str(), text.size() - 1);
        text = trimmed;
    }
    return text;
}

// A criterion of the host's own, called by the module's manager through its table.
class HostCriterion : public IClientWithNoQvManifestCheckCriteria {
public:
    explicit HostCriterion(bool answer, int& destroyed) : answer_(answer), destroyed_(destroyed) {}
    ~HostCriterion() override { ++destroyed_; }
    bool IsAnException() override {
        ++calls;
        return answer_;
    }
    int calls = 0;

private:
    bool answer_;
    int& destroyed_;
};

void Records() {
    const IClientInformation plain;
    CHECK(plain.type == ClientType::Uwp && plain.id.empty());
    const IClientInformation typed(ClientType::Win32);
    CHECK(typed.type == ClientType::Win32 && typed.id.empty());
    IClientInformation named(ClientType::Win32, kLong);
    CHECK(named.id == kLong);
    named = IClientInformation(ClientType::Uwp, kShort);
    CHECK(named.type == ClientType::Uwp && named.id == kShort);

    const UwpInformation none;
    CHECK(none.type == ClientType::Uwp && none.packageName.empty() && none.packageFamilyName.empty() &&
          none.major == 0 && none.minor == 0);
    // A store app's id is its second string, its family name.
    UwpInformation app(L"5E0C2A91.Tansy", L"5E0C2A91.Tansy_k4m2x9trq7bw3", 2, 0);
    CHECK(app.type == ClientType::Uwp);
    CHECK(app.id == L"5E0C2A91.Tansy_k4m2x9trq7bw3");
    CHECK(app.packageName == L"5E0C2A91.Tansy" && app.packageFamilyName == L"5E0C2A91.Tansy_k4m2x9trq7bw3");
    CHECK(app.major == 2 && app.minor == 0);
    CHECK(app.packageFullName.empty() && app.publisher.empty() && app.installPath.empty() && app.architecture == 0);
    app.packageFullName = kLong;
    app.architecture = 9;
    UwpInformation copied(app);
    CHECK(copied.id == app.id && copied.packageFullName == kLong && copied.architecture == 9);
    UwpInformation assigned(kEmpty, kShort, 1, 1);
    CHECK(assigned.id == kShort);
    assigned = app;
    CHECK(assigned.packageFamilyName == app.packageFamilyName && assigned.packageFullName == kLong);
    assigned = UwpInformation(kLong, kEmpty, 0, 0);
    CHECK(assigned.id.empty() && assigned.packageName == kLong);

    const Win32Information executable;
    CHECK(executable.type == ClientType::Win32 && executable.path.empty() && executable.major == 0);
    // An executable's id is its first string, its path.
    Win32Information tool(L"C:\\Tools\\HotKeyServiceUWP.exe", 8, 9);
    CHECK(tool.type == ClientType::Win32 && tool.id == L"C:\\Tools\\HotKeyServiceUWP.exe" && tool.detail.empty());
    Win32Information detailed(kLong, kShort, 3, 4);
    CHECK(detailed.id == kLong && detailed.path == kLong && detailed.detail == kShort && detailed.major == 3 &&
          detailed.minor == 4);
    Win32Information copy(detailed);
    tool = copy;
    CHECK(tool.path == kLong && tool.detail == kShort);

    UwpMatchingDescriptor uwpDescriptor(app, MatchingDescriptor::Exempt);
    UwpMatchingDescriptor uwpCopy(uwpDescriptor);
    uwpCopy = uwpDescriptor;
    CHECK(uwpCopy.client.packageFullName == kLong && uwpCopy.operation == MatchingDescriptor::Exempt);
    Win32MatchingDescriptor win32Descriptor(detailed, MatchingDescriptor::Exempt);
    Win32MatchingDescriptor win32Copy(win32Descriptor);
    win32Copy = win32Descriptor;
    CHECK(win32Copy.client.path == kLong);
}

bool StoreAppExempt(BridgeAccessManager& manager, const wchar_t* family, uint16_t major, uint16_t minor) {
    auto client = std::make_shared<UwpInformation>(L"5E0C2A91.Tansy", family, major, minor);
    manager.SetUwpChecker(std::make_shared<UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        UwpWithNoQVManifestExemptionWhiteList::GetExemption(), client));
    return manager.IsUwpExempt();
}

bool ExecutableExempt(BridgeAccessManager& manager, std::shared_ptr<Win32Information> client) {
    manager.SetWin32Checker(std::make_shared<Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        Win32WithNoQVManifestExemptionWhiteList::GetExemption(), client));
    return manager.IsWin32Exempt();
}

bool ExecutableExempt(BridgeAccessManager& manager, const wchar_t* name, uint16_t major, uint16_t minor) {
    return ExecutableExempt(manager, std::make_shared<Win32Information>(name, major, minor));
}

void Admission() {
    // The built-in lists as the module built them.
    const UwpExemptionList& apps = UwpWithNoQVManifestExemptionWhiteList::_white_list;
    CHECK(apps.size() == 1);
    CHECK(apps.size() == 1 && apps[0].client.packageFamilyName == L"5E0C2A91.Tansy_k4m2x9trq7bw3" &&
          apps[0].client.packageName == L"5E0C2A91.Tansy" && apps[0].client.major == 2 && apps[0].client.minor == 0);
    const Win32ExemptionList& executables = Win32WithNoQVManifestExemptionWhiteList::_white_list;
    CHECK(executables.size() == 3);
    if (executables.size() == 3) {
        CHECK(executables[0].client.path == L"hotkeyserviceuwp");
        CHECK(executables[1].client.path == L"qvhotkeynotification");
        CHECK(executables[2].client.path == L"hotkeyservicedsu");
        for (const Win32MatchingDescriptor& excused : executables)
            CHECK(excused.client.major == 8 && excused.client.minor == 9 && excused.client.detail.empty());
    }

    // A fresh manager has no criteria: asking is the host's error, raised to it.
    BridgeAccessManager manager;
    int caught = 0;
    try {
        manager.IsUwpExempt();
    } catch (const bridge_access_exception& error) {
        CHECK(Equal(error.what(), "The Behavior was not defined. A call to SetUwpChecker must be done."));
        ++caught;
    }
    try {
        manager.IsWin32Exempt();
    } catch (const std::exception& error) {
        CHECK(Equal(error.what(), "The Behavior was not defined. A call to SetWin32Checker must be done."));
        ++caught;
    }
    try {
        BridgeAccessManager().IsUwpExempt();
    } catch (bridge_access_exception error) {  // by value: the module's copy constructor
        bridge_access_exception moved(static_cast<bridge_access_exception&&>(error));
        bridge_access_exception assigned("");
        assigned = moved;
        CHECK(Equal(assigned.what(), "The Behavior was not defined. A call to SetUwpChecker must be done."));
        ++caught;
    }
    CHECK(caught == 3);

    CHECK(StoreAppExempt(manager, L"5E0C2A91.Tansy_k4m2x9trq7bw3", 2, 0));
    CHECK(StoreAppExempt(manager, L"5E0C2A91.Tansy_k4m2x9trq7bw3", 1, 9));
    CHECK(!StoreAppExempt(manager, L"5E0C2A91.Tansy_k4m2x9trq7bw3", 2, 1));
    CHECK(!StoreAppExempt(manager, L"5E0C2A91.Tansy_k4m2x9trq7bw3", 3, 0));
    CHECK(!StoreAppExempt(manager, L"5e0c2a91.tansy_k4m2x9trq7bw3", 2, 0));
    CHECK(!StoreAppExempt(manager, L"5E0C2A91.Fennel_k4m2x9trq7bw3", 1, 0));

    // The executable's name is folded in the host's own record.
    auto hotKey = std::make_shared<Win32Information>(L"HotKeyServiceUWP", 8, 9);
    CHECK(ExecutableExempt(manager, hotKey));
    CHECK(hotKey->path == L"hotkeyserviceuwp");
    CHECK(!ExecutableExempt(manager, L"HotKeyServiceUWP", 8, 10));
    CHECK(ExecutableExempt(manager, L"HotKeyServiceUWP", 7, 99));
    CHECK(!ExecutableExempt(manager, L"HotKeyServiceUWP", 9, 0));
    CHECK(ExecutableExempt(manager, L"QVHotKeyNotification", 8, 9));
    CHECK(!ExecutableExempt(manager, kLong.c_str(), 1, 0));

    // Empty and missing lists and clients excuse no one.
    manager.SetUwpChecker(std::make_shared<UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        std::make_shared<UwpExemptionList>(),
        std::make_shared<UwpInformation>(L"5E0C2A91.Tansy", L"5E0C2A91.Tansy_k4m2x9trq7bw3", 1, 0)));
    CHECK(!manager.IsUwpExempt());
    manager.SetUwpChecker(std::make_shared<UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        UwpWithNoQVManifestExemptionWhiteList::GetExemption(), nullptr));
    CHECK(!manager.IsUwpExempt());
    manager.SetWin32Checker(std::make_shared<Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion>(
        nullptr, std::make_shared<Win32Information>(L"hotkeyservicedsu", 1, 0)));
    CHECK(!manager.IsWin32Exempt());

    // Criteria copy, and a manager's copies share them.
    auto client = std::make_shared<UwpInformation>(L"5E0C2A91.Tansy", L"5E0C2A91.Tansy_k4m2x9trq7bw3", 2, 0);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion criterion(UwpWithNoQVManifestExemptionWhiteList::GetExemption(),
                                                                 client);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion criterionCopy(criterion);
    criterionCopy = criterion;
    CHECK(criterionCopy.IsAnException());
    client->minor = 1;
    CHECK(!criterionCopy.IsAnException());

    // The host's own criterion, called and finally destroyed by the module's side.
    int destroyed = 0;
    {
        auto own = std::make_shared<HostCriterion>(true, destroyed);
        BridgeAccessManager host;
        host.SetUwpChecker(own);
        BridgeAccessManager copy(host);
        BridgeAccessManager assigned;
        assigned = copy;
        CHECK(assigned.IsUwpExempt() && copy.IsUwpExempt());
        CHECK(own->calls == 2);
        own.reset();
        host.SetUwpChecker(nullptr);
        copy.SetUwpChecker(nullptr);
        CHECK(destroyed == 0);
    }
    CHECK(destroyed == 1);
}

void Caller() {
    // Outside an RPC call there is no caller: an empty name.
    RpcSecurityHelper helper;
    CHECK(helper.GetPFNOfCaller().empty());
    CHECK(std::wstring(RpcSecurityHelper::kManifestBaseName) == L"QVManifest");
    CHECK(std::wstring(RpcSecurityHelper::kManifestExtensions[2]) == L".p7s");
    CHECK(std::wstring(RpcSecurityHelper::kManifestCatalogs[1]) == L"qvcustomcapcompx86.cat");
    CHECK(std::wstring(RpcSecurityHelper::kManifestPublisherHash) == L"k4m2x9trq7bw3");

    // The helper owns the handles a host puts in its table, and closes them.
    void* handle = nullptr;
    CHECK(DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), GetCurrentProcess(), &handle, 0x1000, 0, 0) != 0);
    {
        RpcSecurityHelper lent;
        lent.processHandles.emplace(static_cast<uint32_t>(GetCurrentProcessId()), handle);
        CHECK(lent.GetPFNOfCaller().empty());
        unsigned long flags = 0;
        CHECK(GetHandleInformation(handle, &flags) != 0);
    }
    unsigned long flags = 0;
    CHECK(GetHandleInformation(handle, &flags) == 0);
}

bool Contains(const SignerList& table, const std::string& key) {
    for (const SignerInfo& record : table)
        if (record.publicKey == key) return true;
    return false;
}

bool StartsWith(const SignerList& longer, const SignerList& shorter) {
    if (longer.size() < shorter.size()) return false;
    for (size_t i = 0; i < shorter.size(); ++i)
        if (longer[i].publicKey != shorter[i].publicKey) return false;
    return true;
}

void Signatures() {
    const std::wstring probes = ExeFolder() + L"trust-test\\";
    const std::wstring placed = L"C:\\windows\\temp\\qv-consumer\\";
    CreateDirectoryW(placed.c_str(), nullptr);
    CHECK(CopyFileW((probes + L"probe-signed.exe").c_str(), (placed + L"probe-signed.exe").c_str(), 0) != 0);
    const std::string key = ReadText(probes + L"signing.hex");
    CHECK(key.size() == 809);

    QVAuthenticodeFacadeBase* checks = nullptr;
    QVAuthenticodeFacade* facade = new QVAuthenticodeFacade();
    checks = facade;
    // The slots in their order, through the base's table.
    CHECK(checks->IsQvSignedFile((placed + L"probe-signed.exe").c_str()));
    CHECK(checks->IsTrustedSignedFile((placed + L"probe-signed.exe").c_str()));
    CHECK(!checks->IsQvSignedFile((probes + L"probe-other.exe").c_str()));
    CHECK(!checks->IsQvSignedFile((probes + L"probe-signed.exe").c_str()));  // not under a protected folder
    CHECK(!checks->IsDropboxFileTrusted((placed + L"probe-signed.exe").c_str()));
    CHECK(checks->IsWindowsTrustedFile((placed + L"probe-signed.exe").c_str()));
    CHECK(!checks->IsWindowsTrustedFile((probes + L"probe-unsigned.exe").c_str()));
    CHECK(checks->HaveSameSigner((probes + L"probe-signed.exe").c_str(), (probes + L"probe-signed-twin.exe").c_str()));
    CHECK(!checks->HaveSameSigner((probes + L"probe-signed.exe").c_str(), (probes + L"probe-other.exe").c_str()));
    CHECK(!checks->HaveSameSigner((probes + L"probe-signed.exe").c_str(), (probes + L"probe-unsigned.exe").c_str()));
    CHECK(checks->IsPathAllowed(L"%windir%\\system32\\kernel32.dll"));
    CHECK(!checks->IsPathAllowed(L"C:\\users\\Public\\probe-signed.exe"));
    // Made canonical before the folder is judged.
    CHECK(!checks->IsPathAllowed(L"C:\\windows\\..\\users\\Public\\probe-signed.exe"));
    CHECK(!checks->IsPathAllowed(L"%PROGRAMFILES%\\..\\users\\Public\\probe-signed.exe"));
    CHECK(!checks->IsTrustedSignedFile(nullptr));
    // Outside an RPC call no caller is listed for a rule.
    CHECK(!checks->IsLaunchAllowed(L"%windir%\\System32\\REGSVR32.EXE", 0, L"", nullptr));

    const SignerList signers = facade->GetSigners(probes + L"probe-signed.exe");
    CHECK(signers.size() == 1);
    if (signers.size() == 1) {
        CHECK(signers[0].publicKey == key);
        CHECK(signers[0].status == 0);
        CHECK(signers[0].commonName == L"DeviceControl Test Signing");
        CHECK(signers[0].organization == L"DeviceControl Test" && signers[0].state == L"California");
        CHECK(signers[0].issuer == L"DeviceControl Test Root");
    }
    CHECK(facade->GetSigners(probes + L"probe-unsigned.exe").empty());
    CHECK(facade->GetSigners(kEmpty).empty());
    CHECK(facade->GetSigners(kLong).empty());
    CHECK(facade->GetSigners(probes + L"probe-signed.exe", true).empty());  // no catalog lists it

    // The tables: each includes the one before, and the test key is in the main one.
    CHECK(Contains(QVAuthenticodeFacade::MainTable(), key));
    CHECK(StartsWith(QVAuthenticodeFacade::ExtendedTable(), QVAuthenticodeFacade::MainTable()));
    CHECK(QVAuthenticodeFacade::ExtendedTable().size() > QVAuthenticodeFacade::MainTable().size());
    CHECK(StartsWith(QVAuthenticodeFacade::LaunchArgumentTable(), QVAuthenticodeFacade::ExtendedTable()));
    CHECK(QVAuthenticodeFacade::MainTable().size() > 0 && QVAuthenticodeFacade::MainTable()[0].publicKey.size() > 800);
    const std::wstring signedProbe = probes + L"probe-signed.exe";
    CHECK(facade->IsFileTrusted(signedProbe.c_str(), &QVAuthenticodeFacade::MainTable()));
    SignerList mine;
    CHECK(!facade->IsFileTrusted(signedProbe.c_str(), &mine));
    mine.push_back(SignerInfo());
    mine[0].publicKey = key;
    CHECK(facade->IsFileTrusted(signedProbe.c_str(), &mine));
    CHECK(!facade->IsFileTrusted(signedProbe.c_str(), nullptr));
    CHECK(!facade->IsFileTrusted((probes + L"probe-other.exe").c_str(), &QVAuthenticodeFacade::MainTable()));
    CHECK(facade->GetSecurityCatalogInfo(signedProbe.c_str(), nullptr) == 0);

    // The launch rules, their validators called across the boundary, and copied.
    const std::map<std::wstring, LaunchRule>& rules = QVAuthenticodeFacade::LaunchRules();
    CHECK(rules.size() == 6);
    const auto regsvr32 = rules.find(L"%windir%\\System32\\regsvr32.exe");
    CHECK(regsvr32 != rules.end());
    if (regsvr32 != rules.end()) {
        const LaunchRule& rule = regsvr32->second;
        CHECK(rule.allowedCallers.size() == 1 && rule.allowedCallers[0] == L"5E0C2A91.Fennel_k4m2x9trq7bw3");
        CHECK(rule.optionAllowed == 1);
        CHECK(static_cast<bool>(rule.argumentValidator));
        CHECK(rule.argumentValidator(L""));
        CHECK(rule.argumentValidator(L"\"" + probes + L"probe-signed.exe\""));
        CHECK(!rule.argumentValidator(L"\"" + probes + L"probe-unsigned.exe\""));
        LaunchRule copied = rule;
        CHECK(copied.argumentValidator(L"\"" + probes + L"probe-signed.exe\" /s"));
    }
    const auto dism = rules.find(L"%windir%\\System32\\DISM.exe");
    CHECK(dism != rules.end() && !static_cast<bool>(dism->second.argumentValidator));
    for (const wchar_t* program : {L"%windir%\\System32\\sfc.exe", L"%windir%\\System32\\rundll32.exe",
                                   L"%windir%\\System32\\mmc.exe", L"%windir%\\System32\\rstrui.exe"})
        CHECK(rules.find(program) != rules.end());
    std::map<std::wstring, LaunchRule> copiedRules(rules);
    CHECK(copiedRules.size() == 6);

    QVAuthenticodeHelper helper;
    CHECK(helper.IsPathAllowed(L"%PROGRAMFILES%\\DeviceControl\\DeviceControlTool.exe"));
    CHECK(!helper.IsPathAllowed(L"C:\\ProgramData\\evil.dll"));
    CHECK(!helper.IsPathAllowed(nullptr));
    CHECK(!helper.CheckForFullConrolByTrustedInstallAndSystem(L"C:\\Program Files\\WindowsApps"));

    delete facade;  // the scalar deleting destructor, in the module
}

void Packages() {
    UwpPackageModel* model = CreateUwpPackageModel();
    CHECK(model != nullptr && model->UserName().empty() && model->InstallState() == 0);
    UwpPackageModel named(kLong, 2);
    *model = named;
    UwpPackageModel copy(*model);
    CHECK(copy.UserName() == kLong && copy.InstallState() == 2);
    delete model;

    // Every slot through the table; Wine has no package manager and no SYSTEM account.
    UwpPackageDataAccess* packages = new UwpPackageDataAccess();
    CHECK(packages->GetPackagesPerUser(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3").empty());
    CHECK(packages->GetPackageFullName(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3").empty());
    CHECK(!packages->RegisterPackage(L"5E0C2A91.LumenCenter_k4m2x9trq7bw3"));
    CHECK(!packages->FindPackages(L"k4m2x9trq7bw3", L"5E0C2A91.LumenCenter"));
    CHECK(packages->GetPackages(kLong).empty());
    CHECK(packages->GetPackageFullName(kEmpty).empty());
    delete packages;

    std::shared_ptr<CryptographyHelper> base64 = CreateCryptographyHelper();
    CHECK(static_cast<bool>(base64));
    const std::vector<uint8_t> hello = {'H', 'e', 'l', 'l', 'o'};
    CHECK(base64->EncodeBase64(hello) == L"SGVsbG8=");
    CHECK(base64->DecodeBase64(L"SGVsbG8=").size() == 5 && base64->DecodeBase64(L"SGVsbG8=")[4] == 'o');
    std::vector<uint8_t> large;
    for (int i = 0; i < 5000; ++i) large.push_back(static_cast<uint8_t>(i * 7));
    const std::wstring text = base64->EncodeBase64(large);
    CHECK(text.size() > 4096);
    const std::vector<uint8_t> back = base64->DecodeBase64(text);
    bool same = back.size() == large.size();
    for (size_t i = 0; same && i < back.size(); ++i) same = back[i] == large[i];
    CHECK(same);
    CHECK(base64->EncodeBase64(std::vector<uint8_t>()).empty());
    CHECK(base64->DecodeBase64(kEmpty).empty());
    CHECK(base64->DecodeBase64(L"SGV$bG8=").empty());
}

// Reads a value of type T at `offset` bytes into `object`.
template <class T>
T At(const void* object, size_t offset) {
    return *reinterpret_cast<const T*>(static_cast<const unsigned char*>(object) + offset);
}

// The Visual C++ library's release x64 layouts, read in objects the module made: whatever our
// own declarations of the standard types say, these are what a Visual C++ program expects.
void Layouts() {
    // wstring: a 16-byte buffer or pointer, the length at 16, the capacity at 24; small up to 7.
    CHECK(sizeof(std::wstring) == 32);
    const UwpInformation app(L"5E0C2A91.Tansy", kShort, 2, 0);  // the module's constructor copies the id
    const std::wstring& small = app.id;
    CHECK(At<unsigned long long>(&small, 16) == 5 && At<unsigned long long>(&small, 24) == 7);
    CHECK(At<wchar_t>(&small, 0) == L'T' && At<wchar_t>(&small, 10) == 0);
    // From 4096 bytes on: the text 32-aligned in its block, the block's address just before it.
    Win32Information record(kLong, 1, 0);
    Win32Information copied(record);  // the module's copy constructor allocated this one
    const wchar_t* text = At<const wchar_t*>(&copied.path, 0);
    const unsigned long long address = reinterpret_cast<unsigned long long>(text);
    const unsigned long long block = reinterpret_cast<const unsigned long long*>(text)[-1];
    CHECK(At<unsigned long long>(&copied.path, 16) == 2100);
    CHECK(At<unsigned long long>(&copied.path, 24) >= 2100);
    CHECK(address % 32 == 0 && address - block >= 8 && address - block <= 39);
    CHECK(text[0] == L'x' && text[2100] == 0);

    // shared_ptr: the object, then its control block; made by make_shared the object follows the
    // block's table pointer and its two 32-bit counts, 1 each for one owner.
    std::shared_ptr<CryptographyHelper> helper = CreateCryptographyHelper();
    CHECK(sizeof(helper) == 16);
    const unsigned char* control = At<const unsigned char*>(&helper, 8);
    CHECK(At<unsigned int>(control, 8) == 1 && At<unsigned int>(control, 12) == 1);
    CHECK(At<const unsigned char*>(&helper, 0) == control + 16);
    std::shared_ptr<CryptographyHelper> second = helper;
    CHECK(At<unsigned int>(control, 8) == 2 && At<unsigned int>(control, 12) == 1);

    // vector: first, last, end of storage.
    std::shared_ptr<Win32ExemptionList> list = Win32WithNoQVManifestExemptionWhiteList::GetExemption();
    const unsigned char* first = At<const unsigned char*>(list.get(), 0);
    const unsigned char* last = At<const unsigned char*>(list.get(), 8);
    CHECK(sizeof(Win32ExemptionList) == 24);
    CHECK(last - first == 3 * static_cast<long long>(sizeof(Win32MatchingDescriptor)));

    // map: the head node and the size; the head's colour black (1) and nil flag 1 at 24 and 25,
    // its left the smallest key, its right the largest; the element at 32.
    const std::map<std::wstring, LaunchRule>& rules = QVAuthenticodeFacade::LaunchRules();
    const unsigned char* head = At<const unsigned char*>(&rules, 0);
    CHECK(At<unsigned long long>(&rules, 8) == 6);
    CHECK(At<char>(head, 24) == 1 && At<char>(head, 25) == 1);
    const std::wstring& smallest = *reinterpret_cast<const std::wstring*>(At<const unsigned char*>(head, 0) + 32);
    const std::wstring& largest = *reinterpret_cast<const std::wstring*>(At<const unsigned char*>(head, 16) + 32);
    CHECK(smallest == L"%windir%\\System32\\DISM.exe" && largest == L"%windir%\\System32\\sfc.exe");

    // function: 64 bytes, the implementation's pointer in the last 8; none for no validator.
    CHECK(sizeof(std::function<bool(const std::wstring&)>) == 64);
    const LaunchRule& regsvr32 = rules.find(L"%windir%\\System32\\regsvr32.exe")->second;
    const LaunchRule& dism = rules.find(L"%windir%\\System32\\DISM.exe")->second;
    CHECK(At<const void*>(&regsvr32.argumentValidator, 56) != nullptr);
    CHECK(At<const void*>(&dism.argumentValidator, 56) == nullptr);

    // The exception: the table, then the text and whether it is the exception's own to free.
    try {
        BridgeAccessManager().IsWin32Exempt();
    } catch (const bridge_access_exception& error) {
        CHECK(sizeof(error) == 24);
        CHECK(At<const char*>(&error, 8) == error.what() && At<bool>(&error, 16));
    }
}

ManifestNode Node(const wchar_t* name, const wchar_t* text = L"") {
    ManifestNode node;
    node.name = name;
    node.text = text;
    return node;
}

void Manifests() {
    const std::vector<std::wstring> types = ManifestRules::RuleTypes();
    CHECK(types.size() == 6);
    if (types.size() == 6) {
        CHECK(types[0] == L"regex" && types[1] == L"contained_in_list" && types[2] == L"begins_with_from_list");
        CHECK(types[3] == L"begins_with_from_list_with_env_vars" && types[4] == L"numeric_range" &&
              types[5] == L"none");
    }
    ManifestNode range = Node(L"Argument");
    range.attributes.push_back({L"rule", L"numeric_range"});
    range.children.push_back(Node(L"Min", L"1"));
    range.children.push_back(Node(L"Max", L"20"));
    CHECK(ManifestRules::Evaluate(L"numeric_range", range, L"20"));
    CHECK(!ManifestRules::Evaluate(L"numeric_range", range, L"21"));
    CHECK(!ManifestRules::Evaluate(L"no_such_rule", range, L"1"));
    ManifestNode pattern = Node(L"Argument");
    pattern.children.push_back(Node(L"Pattern", L"[a-z]+"));
    CHECK(ManifestRules::Evaluate(L"regex", pattern, L"fennel"));
    CHECK(ManifestRules::Evaluate(L"regex", pattern, kLong));
    CHECK(!ManifestRules::Evaluate(L"regex", pattern, std::wstring(4097, L'x')));  // beyond the value's bound
    // A rule nested deeper than a manifest may be is not evaluated.
    ManifestNode deep = Node(L"Argument");
    ManifestNode* level = &deep;
    for (int i = 0; i < 40; ++i) {
        level->children.push_back(Node(L"Item", L"x"));
        level = &level->children[0];
    }
    CHECK(!ManifestRules::Evaluate(L"contained_in_list", deep, L"x"));

    // The example manifest, signed at build time, in a folder only administrators can write.
    const std::wstring signedFiles = ExeFolder() + L"..\\manifest-test\\";
    const std::wstring folder = L"C:\\Program Files\\DeviceControlTests\\Fennel\\";
    CreateDirectoryW(L"C:\\Program Files\\DeviceControlTests", nullptr);
    CreateDirectoryW(folder.c_str(), nullptr);
    CHECK(CopyFileW((signedFiles + L"QVManifest.xml").c_str(), (folder + L"QVManifest.xml").c_str(), 0) != 0);
    CHECK(CopyFileW((signedFiles + L"signing.p7s").c_str(), (folder + L"QVManifest.p7s").c_str(), 0) != 0);
    {
        const ClientManifest manifest(folder + L"Fennel.exe");
        CHECK(manifest.IsLoaded() && manifest.Problem().empty());
        std::wstring decided;
        CHECK(manifest.IsAllowed(92, L"{\"IValue\":15}", &decided));
        CHECK(decided == L"command 92: IValue by numeric_range");
        CHECK(!manifest.IsAllowed(92, L"{\"IValue\":21}", &decided));
        CHECK(decided == L"command 92: IValue refused by numeric_range");
        CHECK(!manifest.IsAllowed(93, kEmpty));
    }
    // Signed by a key that is not the main table's: refused, with the reason.
    CHECK(CopyFileW((signedFiles + L"other.p7s").c_str(), (folder + L"QVManifest.p7s").c_str(), 0) != 0);
    const ClientManifest foreign(folder);
    CHECK(!foreign.IsLoaded());
    CHECK(foreign.Problem() == L"QVManifest.p7s is by a key that is not trusted for manifests");
    std::wstring why;
    CHECK(!foreign.IsAllowed(91, L"{}", &why) && why == foreign.Problem());
}

void Machine() {
    using Qv::Bridge::Server::Services::DeviceControl::DeviceInfoHelper;
    DeviceInfoHelper* info = DeviceInfoHelper::GetInstance();
    CHECK(info != nullptr && info == DeviceInfoHelper::GetInstance());
    // Wine 8's WMI: a processor, memory modules, the model "Wine", the serial number "0", and
    // neither a host name nor a product number.
    CHECK(!info->GetProcessorName().empty());
    CHECK(info->GetInstalledRAM() > 0);
    CHECK(info->GetProductName() == L"Wine");
    CHECK(info->GetSerialNumber() == L"0");
    CHECK(info->GetHostname().empty() && info->GetProductNumber().empty());
}

}  // namespace

int ConsumerMain() {
    // The tables the module builds on first use stay until it is unloaded: built before the count.
    QVAuthenticodeFacade::MainTable();
    QVAuthenticodeFacade::ExtendedTable();
    QVAuthenticodeFacade::LaunchArgumentTable();
    QVAuthenticodeFacade::LaunchRules();
    const long long before = Live();

    Layouts();
    Records();
    Admission();
    Caller();
    Signatures();
    Packages();
    Machine();
    Manifests();

    const long long after = Live();
    Print("blocks allocated by the consumer: ");
    Print(Consumer::heap.allocations);
    Print(", freed by it: ");
    Print(Consumer::heap.frees);
    Print(" (not of the runtime's heap: ");
    Print(Consumer::heap.foreign);
    Print("); blocks live across both sides, before: ");
    Print(before);
    Print(", after: ");
    Print(after);
    Print("\n");
    CHECK(after == before);
    CHECK(Consumer::heap.foreign == 0);
    Print("RESULT: ");
    Print(static_cast<long long>(passed));
    Print(" passed, ");
    Print(static_cast<long long>(failed));
    Print(" failed\n");
    return failed == 0 ? 0 : 1;
}
