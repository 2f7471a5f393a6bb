#include "platform/sim/sim_device.h"

#include <algorithm>
#include <cwctype>

#include "core/command_line.h"
#include "core/wformat.h"

namespace Qv::Sim {
namespace {

constexpr uint32_t kErrorFileNotFound = 2;
constexpr uint32_t kErrorInvalidName = 123;
constexpr long kErrorInsufficientBuffer = 122;
constexpr long kAppModelErrorNoPackage = 15700;

std::wstring Lower(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towlower(c); });
    return text;
}

std::wstring Upper(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towupper(c); });
    return text;
}

}  // namespace

SimDevice::SimDevice() : random_(std::random_device{}()) {
    // A stock Windows installation.
    for (auto* env : {&environment_, &userEnvironment_}) {
        (*env)[L"WINDIR"] = L"C:\\Windows";
        (*env)[L"SYSTEMROOT"] = L"C:\\Windows";
        (*env)[L"PROGRAMFILES"] = L"C:\\Program Files";
        (*env)[L"PROGRAMFILES(X86)"] = L"C:\\Program Files (x86)";
        (*env)[L"PROGRAMDATA"] = L"C:\\ProgramData";
    }
    environment_[L"USERPROFILE"] = L"C:\\Windows\\system32\\config\\systemprofile";
    userEnvironment_[L"USERPROFILE"] = L"C:\\Users\\Avery";
}

// --- arrangement and observation ------------------------------------------------------------

void SimDevice::SetSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures) {
    std::lock_guard<std::mutex> lock(mutex_);
    signatures_[Lower(path)] = std::move(signatures);
}

void SimDevice::SetCatalogSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures) {
    std::lock_guard<std::mutex> lock(mutex_);
    catalogSignatures_[Lower(path)] = std::move(signatures);
}

void SimDevice::SetEnvironment(const std::wstring& name, const std::wstring& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    environment_[Upper(name)] = value;
}

void SimDevice::SetUserEnvironment(const std::wstring& name, const std::wstring& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    userEnvironment_[Upper(name)] = value;
}

void SimDevice::SetFolderAccess(const std::wstring& folder, platform::FolderAccess access) {
    std::lock_guard<std::mutex> lock(mutex_);
    folders_[Lower(folder)] = std::move(access);
}

void SimDevice::SetCaller(SimCaller caller) {
    std::lock_guard<std::mutex> lock(mutex_);
    caller_ = std::move(caller);
}

platform::OwnedHandle SimDevice::MakeProcessHandle(uint32_t processId) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++openProcessHandles_;
    return platform::OwnedHandle(new SimProcess{processId}, [this](void* p) {
        delete static_cast<SimProcess*>(p);
        std::lock_guard<std::mutex> inner(mutex_);
        --openProcessHandles_;
    });
}

size_t SimDevice::UuidsIssued() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return uuidsIssued_;
}

std::vector<platform::EventHandle> SimDevice::ClosedEvents() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return closedEvents_;
}

std::vector<uint32_t> SimDevice::Sleeps() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sleeps_;
}

bool SimDevice::Impersonating() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return impersonating_;
}

int SimDevice::OpenProcessHandles() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return openProcessHandles_;
}

// --- UUIDs and events -----------------------------------------------------------------------

std::wstring SimDevice::NewUuidString() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++uuidsIssued_;
    const uint64_t hi = (random_() & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
    const uint64_t lo = (random_() & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
    return Core::FormatWide(L"%08x-%04x-%04x-%04x-%012llx", static_cast<unsigned>(hi >> 32),
                            static_cast<unsigned>((hi >> 16) & 0xFFFF), static_cast<unsigned>(hi & 0xFFFF),
                            static_cast<unsigned>(lo >> 48), static_cast<unsigned long long>(lo & 0xFFFFFFFFFFFFULL));
}

void SimDevice::Close(platform::EventHandle handle) {
    if (handle == nullptr) return;
    std::lock_guard<std::mutex> lock(mutex_);
    closedEvents_.push_back(handle);
}

// --- code signatures, files, user -----------------------------------------------------------

std::vector<platform::RawSignature> SimDevice::ReadSignatures(const std::wstring& path, bool useCatalog) {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto& source = useCatalog ? catalogSignatures_ : signatures_;
    auto it = source.find(Lower(path));
    return it == source.end() ? std::vector<platform::RawSignature>{} : it->second;
}

std::wstring SimDevice::Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text) const {
    std::wstring out;
    size_t i = 0;
    while (i < text.size()) {
        const size_t open = text.find(L'%', i);
        const size_t close = open == std::wstring::npos ? open : text.find(L'%', open + 1);
        if (close == std::wstring::npos) {
            out.append(text, i, std::wstring::npos);
            break;
        }
        out.append(text, i, open - i);
        auto it = environment.find(Upper(text.substr(open + 1, close - open - 1)));
        if (it != environment.end()) {
            out += it->second;
            i = close + 1;
        } else {
            out += L'%';  // unknown names stay as written
            i = open + 1;
        }
    }
    return out;
}

std::wstring SimDevice::ExpandEnvironment(const std::wstring& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    return Expand(environment_, text);
}

std::optional<std::wstring> SimDevice::ExpandForUser(platform::UserToken token, const std::wstring& text,
                                                     uint32_t& error) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (token == nullptr) {
        error = 6;  // ERROR_INVALID_HANDLE
        return std::nullopt;
    }
    return Expand(userEnvironment_, text);
}

std::optional<std::wstring> SimDevice::FullPath(const std::wstring& path, uint32_t& error) {
    if (path.empty()) {
        error = kErrorInvalidName;
        return std::nullopt;
    }
    std::wstring text = path;
    std::replace(text.begin(), text.end(), L'/', L'\\');
    std::wstring drive = L"C:";
    if (text.size() >= 2 && text[1] == L':') {
        drive = text.substr(0, 2);
        text = text.substr(2);
    }
    const bool trailing = !text.empty() && text.back() == L'\\';
    std::vector<std::wstring> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = text.find(L'\\', start);
        const std::wstring part = text.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
        if (part == L"..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != L".") {
            parts.push_back(part);
        }
        if (end == std::wstring::npos) break;
        start = end + 1;
    }
    std::wstring full = drive;
    for (const auto& part : parts) full += L"\\" + part;
    if (parts.empty() || trailing) full += L"\\";
    return full;
}

platform::FolderAccess SimDevice::ReadFolderAccess(const std::wstring& folder) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = folders_.find(Lower(folder));
    if (it != folders_.end()) return it->second;
    platform::FolderAccess missing;
    missing.error = kErrorFileNotFound;
    return missing;
}

// --- the RPC caller -------------------------------------------------------------------------

long SimDevice::InquireCallerProcessId(uint32_t& processId) {
    std::lock_guard<std::mutex> lock(mutex_);
    processId = caller_.inquireStatus == 0 ? caller_.processId : 0;
    return caller_.inquireStatus;
}

platform::OwnedHandle SimDevice::OpenProcessForQuery(uint32_t processId) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!caller_.processAlive || processId != caller_.processId) return nullptr;
    }
    return MakeProcessHandle(processId);
}

platform::OwnedHandle SimDevice::DuplicateForQuery(void* processHandle) {
    if (processHandle == nullptr) return nullptr;
    return MakeProcessHandle(static_cast<SimProcess*>(processHandle)->processId);
}

long SimDevice::ImpersonateClient() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (caller_.impersonateStatus == 0) impersonating_ = true;
    return caller_.impersonateStatus;
}

void SimDevice::RevertToSelf() {
    std::lock_guard<std::mutex> lock(mutex_);
    impersonating_ = false;
}

long SimDevice::GetPackageFamilyName(void* processHandle, uint32_t& length, wchar_t* buffer) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (processHandle == nullptr || static_cast<SimProcess*>(processHandle)->processId != caller_.processId ||
        caller_.packageFamilyName.empty()) {
        return kAppModelErrorNoPackage;
    }
    const uint32_t needed = static_cast<uint32_t>(caller_.packageFamilyName.size() + 1);
    if (buffer == nullptr || length < needed) {
        length = needed;
        return kErrorInsufficientBuffer;
    }
    std::copy(caller_.packageFamilyName.begin(), caller_.packageFamilyName.end(), buffer);
    buffer[needed - 1] = L'\0';
    length = needed;
    return 0;
}

void SimDevice::Sleep(uint32_t milliseconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    sleeps_.push_back(milliseconds);
}

// --- files beside the module, the console user, processes ----------------------------------

void SimDevice::AddFile(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    files_.insert(Lower(path));
}

void SimDevice::RemoveFile(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    files_.erase(Lower(path));
}

void SimDevice::SetModulePath(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    modulePath_ = path;
}

void SimDevice::SetSignedIn(bool signedIn) {
    std::lock_guard<std::mutex> lock(mutex_);
    signedIn_ = signedIn;
}

void SimDevice::SetRunningAsSystem(bool system) {
    std::lock_guard<std::mutex> lock(mutex_);
    runningAsSystem_ = system;
}

void SimDevice::InstallTool(const std::vector<uint8_t>& key, int32_t status) {
    std::wstring folder;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        folder = modulePath_.substr(0, modulePath_.find_last_of(L'\\'));
    }
    const std::wstring tool = folder + L"\\DeviceControlTool.exe";
    AddFile(tool);
    SetSignatures(tool, {{key, status, L"CN=QV Inc., O=QV Inc., L=Lakeside, S=California, C=US", L"CN=Test CA"}});
}

std::vector<std::wstring> SimDevice::CommandLines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return commandLines_;
}

std::vector<std::wstring> SimDevice::StartedPackages() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return startedPackages_;
}

int SimDevice::PinnedFiles() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return pinnedFiles_;
}

std::wstring SimDevice::ModulePath() {
    std::lock_guard<std::mutex> lock(mutex_);
    return modulePath_;
}

bool SimDevice::FileExists(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    return files_.count(Lower(path)) != 0;
}

platform::OwnedHandle SimDevice::OpenForExecution(const std::wstring& path, uint32_t& error) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (files_.count(Lower(path)) == 0) {
        error = kErrorFileNotFound;
        return nullptr;
    }
    ++pinnedFiles_;
    return platform::OwnedHandle(new int(0), [this](void* p) {
        delete static_cast<int*>(p);
        std::lock_guard<std::mutex> inner(mutex_);
        --pinnedFiles_;
    });
}

uint32_t SimDevice::ActiveConsoleSessionId() {
    std::lock_guard<std::mutex> lock(mutex_);
    return signedIn_ ? 1 : kNoSession;
}

uint32_t SimDevice::FindActiveSession() { return ActiveConsoleSessionId(); }

platform::OwnedHandle SimDevice::QueryUserToken(uint32_t sessionId, uint32_t& error) {
    if (sessionId == kNoSession) {
        error = 1008;  // ERROR_NO_TOKEN
        return nullptr;
    }
    return platform::OwnedHandle(new int(1), [](void* p) { delete static_cast<int*>(p); });
}

platform::OwnedHandle SimDevice::DuplicatePrimaryToken(void* token) {
    if (token == nullptr) return nullptr;
    return platform::OwnedHandle(new int(2), [](void* p) { delete static_cast<int*>(p); });
}

bool SimDevice::RunningAsSystem() {
    std::lock_guard<std::mutex> lock(mutex_);
    return runningAsSystem_;
}

bool SimDevice::ImpersonateLoggedOnUser(void* token) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (token == nullptr) return false;
    impersonating_ = true;
    return true;
}

bool SimDevice::RevertImpersonation() {
    std::lock_guard<std::mutex> lock(mutex_);
    impersonating_ = false;
    return true;
}

bool SimDevice::RunAndCapture(void* token, const std::wstring& applicationPath, const std::wstring& commandLine,
                              std::string& output) {
    std::vector<std::wstring> args = Core::SplitCommandLine(commandLine);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        commandLines_.push_back(commandLine);
        if (token == nullptr || tool_.failsToStart || files_.count(Lower(applicationPath)) == 0) return false;
    }
    output = RunTool(args);
    return true;
}

// The device control tool: "<tool> <area> <function> <argument>", one line out.
std::string SimDevice::RunTool(const std::vector<std::wstring>& args) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (args.size() != 4) return "-1\r\n";
    const std::wstring& area = args[1];
    const std::wstring& function = args[2];
    const std::wstring& argument = args[3];
    auto scripted = tool_.replies.find(function);
    if (scripted != tool_.replies.end()) return scripted->second;
    if (area != L"Accessory") return "-1\r\n";
    auto number = [&](int& value) {
        try {
            size_t used = 0;
            value = std::stoi(argument, &used);
            return used == argument.size();
        } catch (const std::exception&) {
            return false;
        }
    };
    int value = 0;
    if (function == L"GetMouseSpeed") return std::to_string(tool_.mouseSpeed) + "\r\n";
    if (function == L"SetMouseSpeed") {
        if (!number(value) || value < 1 || value > 20) return "-1\r\n";
        tool_.mouseSpeed = value;
        return "1\r\n";
    }
    if (function == L"SwapMouseButton") {
        tool_.buttonsSwapped = !tool_.buttonsSwapped;
        return "1\r\n";
    }
    if (function == L"SetMouseLeftHanded") {
        if (!number(value) || (value != 0 && value != 1)) return "-1\r\n";
        tool_.buttonsSwapped = value == 1;
        return "1\r\n";
    }
    if (function == L"GetMouseSwapStatus") return tool_.buttonsSwapped ? "1\r\n" : "0\r\n";
    return "-1\r\n";
}

bool SimDevice::StartPackagedApplication(void* token, const std::wstring& packageFamilyName,
                                         const std::wstring& executable) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (token == nullptr) return false;
    startedPackages_.push_back(packageFamilyName + L"!" + executable);
    return true;
}

}  // namespace Qv::Sim
