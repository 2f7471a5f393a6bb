#include "platform/sim/sim_device.h"

#include <algorithm>
#include <cwctype>

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

}  // namespace Qv::Sim
