#include "platform/sim/SimFileSystem.h"

#include <algorithm>
#include <vector>

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorFileNotFound = 2;
constexpr int32_t kErrorInvalidName = 123;

}  // namespace

std::wstring SimFileSystem::ExpandEnvironment(const std::wstring& text) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    return Expand(world_.environment, text);
}

// GetFullPathNameW on a drive path: separators unified, "." and ".." resolved, drive C: by default.
platform::Result<std::wstring> SimFileSystem::FullPath(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, Files);
    if (path.empty()) return platform::Failure{kErrorInvalidName};
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

platform::Result<platform::FolderAccess> SimFileSystem::ReadFolderAccess(const std::wstring& folder) {
    QV_SIM_FAULT(world_.faults, Files);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = folders_.find(Lower(folder));
    if (it != folders_.end()) return it->second;
    return platform::Failure{kErrorFileNotFound};
}

void SimFileSystem::SetFolderAccess(const std::wstring& folder, platform::Result<platform::FolderAccess> access) {
    std::lock_guard<std::mutex> lock(mutex_);
    folders_.insert_or_assign(Lower(folder), std::move(access));
}

platform::Result<std::wstring> SimFileSystem::ModulePath() {
    QV_SIM_FAULT(world_.faults, Files);
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.modulePath;
}

bool SimFileSystem::FileExists(const std::wstring& path) {
    if (world_.faults.Enter(SimPort::Files)) return false;
    return Exists(path);
}

bool SimFileSystem::Exists(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.files.count(Lower(path)) != 0;
}

platform::Result<platform::OwnedHandle> SimFileSystem::OpenForExecution(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, Files);
    if (!Exists(path)) return platform::Failure{kErrorFileNotFound};
    std::lock_guard<std::mutex> lock(mutex_);
    ++pinnedFiles_;
    return platform::OwnedHandle(new int(0), [this](void* p) {
        delete static_cast<int*>(p);
        std::lock_guard<std::mutex> inner(mutex_);
        --pinnedFiles_;
    });
}

std::wstring SimFileSystem::TemporaryFolder() {
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.temporaryFolder;
}

std::wstring SimFileSystem::SystemFolder() {
    std::lock_guard<std::mutex> lock(world_.mutex);
    return world_.systemFolder;
}

platform::Result<void> SimFileSystem::CreateNewFile(const std::wstring& path, const std::string& bytes) {
    QV_SIM_FAULT(world_.faults, Files);
    constexpr int32_t kAccessDenied = 5;
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring name = Lower(path);
    if (world_.undeletable.count(name) != 0) return platform::Failure{kAccessDenied};
    // Removing the name leaves a hard link's other names, and a link's target, as they were.
    world_.files.erase(name);
    world_.contents.erase(name);
    world_.files.insert(name);
    world_.contents[name] = std::make_shared<std::string>(bytes);
    return platform::Success();
}

platform::Result<void> SimFileSystem::RemoveFile(const std::wstring& path) {
    QV_SIM_FAULT(world_.faults, Files);
    constexpr int32_t kAccessDenied = 5;
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring name = Lower(path);
    if (world_.undeletable.count(name) != 0) return platform::Failure{kAccessDenied};
    if (world_.files.erase(name) == 0) return platform::Failure{kErrorFileNotFound};
    world_.contents.erase(name);
    return platform::Success();
}

int SimFileSystem::PinnedFiles() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return pinnedFiles_;
}

platform::Result<std::string> SimFileSystem::ReadFile(const std::wstring& path, size_t maxBytes) {
    QV_SIM_FAULT(world_.faults, Files);
    constexpr int32_t kNotFound = 2;
    constexpr int32_t kCannotAccess = 1920;
    constexpr int32_t kTooLarge = 223;
    std::lock_guard<std::mutex> lock(world_.mutex);
    const std::wstring name = Lower(path);
    if (IsReparsePoint(world_, name)) return platform::Failure{kCannotAccess};
    auto text = world_.contents.find(name);
    if (world_.files.count(name) == 0 || text == world_.contents.end()) return platform::Failure{kNotFound};
    if (text->second->size() > maxBytes) return platform::Failure{kTooLarge};
    return *text->second;
}

}  // namespace Qv::Sim
