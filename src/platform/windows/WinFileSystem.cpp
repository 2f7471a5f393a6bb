#include "platform/windows/WinFileSystem.h"

#include <windows.h>
#include <aclapi.h>

#include <algorithm>

#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

// Any function of this module: its address names the module that holds it.
void ModuleAnchor() {}

}  // namespace

std::wstring WinFileSystem::ExpandEnvironment(const std::wstring& text) {
    DWORD size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    if (size == 0) return text;
    std::wstring out(size, L'\0');
    size = ExpandEnvironmentStringsW(text.c_str(), out.data(), size);
    if (size == 0) return text;
    out.resize(size - 1);
    return out;
}

Result<std::wstring> WinFileSystem::FullPath(const std::wstring& path) {
    DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (size == 0) return LastError();
    std::wstring out(size, L'\0');
    size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(out.size()), out.data(), nullptr);
    if (size == 0) return LastError();
    if (size >= out.size()) return Failure{ERROR_INSUFFICIENT_BUFFER};
    out.resize(size);
    return out;
}

Result<FolderAccess> WinFileSystem::ReadFolderAccess(const std::wstring& folder) {
    PSID owner = nullptr;
    PSID group = nullptr;
    PACL dacl = nullptr;
    unique_hlocal descriptor;
    const DWORD result = GetNamedSecurityInfoW(
        folder.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
        &owner, &group, &dacl, nullptr, reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()));
    if (result != ERROR_SUCCESS) return Failure{static_cast<int32_t>(result)};
    FolderAccess access;
    access.hasDacl = dacl != nullptr;
    if (dacl == nullptr) return access;

    for (DWORD i = 0; i < dacl->AceCount; ++i) {
        void* raw = nullptr;
        if (!GetAce(dacl, i, &raw)) continue;
        // Allowed and denied ACEs share this layout: header, mask, SID.
        auto* ace = static_cast<ACCESS_ALLOWED_ACE*>(raw);
        AccessEntry entry;
        entry.type = ace->Header.AceType;
        entry.mask = ace->Mask;
        if (entry.type == ACCESS_ALLOWED_ACE_TYPE || entry.type == ACCESS_DENIED_ACE_TYPE) {
            wchar_t name[256] = {};
            wchar_t domain[256] = {};
            DWORD nameLength = 256;
            DWORD domainLength = 256;
            SID_NAME_USE use;
            if (LookupAccountSidW(nullptr, &ace->SidStart, name, &nameLength, domain, &domainLength, &use)) {
                entry.name = name;
                entry.domain = domain;
            }
        }
        access.entries.push_back(std::move(entry));
    }
    return access;
}

Result<std::wstring> WinFileSystem::ModulePath() {
    // The module that holds this code: the DLL, not the host executable.
    HMODULE self = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&ModuleAnchor)), &self)) {
        return LastError();
    }
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(self, path, MAX_PATH);
    if (length == 0) return LastError();
    if (length >= MAX_PATH) return Failure{ERROR_INSUFFICIENT_BUFFER};
    return std::wstring(path, length);
}

bool WinFileSystem::FileExists(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

Result<OwnedHandle> WinFileSystem::OpenForExecution(const std::wstring& path) {
    // Others may read (and so run) the file, but not write, delete or rename it while we hold it.
    unique_handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return LastError();
    return share_handle(std::move(file));
}

std::wstring WinFileSystem::TemporaryFolder() {
    wchar_t folder[MAX_PATH + 1] = {};
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    return length == 0 || length > MAX_PATH ? std::wstring() : std::wstring(folder, length);
}

std::wstring WinFileSystem::SystemFolder() {
    wchar_t folder[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    return length == 0 || length >= MAX_PATH ? std::wstring() : std::wstring(folder, length);
}

Result<void> WinFileSystem::CreateNewFile(const std::wstring& path, const std::string& bytes) {
    // The folder may be writable by users, who could have left a file, a symbolic link or a hard
    // link to a system file under this name. Removing a link removes the name, never its target;
    // CREATE_NEW then fails if anything took the name again in between.
    if (!DeleteFileW(path.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND) return LastError();
    unique_handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file) return LastError();
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(file.get(), &information)) return LastError();
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || information.nNumberOfLinks != 1)
        return Failure{ERROR_CANT_ACCESS_FILE};
    size_t written = 0;
    while (written < bytes.size()) {
        DWORD chunk = 0;
        const DWORD size = static_cast<DWORD>(std::min<size_t>(bytes.size() - written, 1u << 20));
        if (!WriteFile(file.get(), bytes.data() + written, size, &chunk, nullptr)) return LastError();
        written += chunk;
    }
    return Success();
}

Result<void> WinFileSystem::RemoveFile(const std::wstring& path) {
    if (!DeleteFileW(path.c_str())) return Failure{static_cast<int32_t>(GetLastError())};
    return Success();
}

Result<std::string> WinFileSystem::ReadFile(const std::wstring& path, size_t maxBytes) {
    unique_handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file) return LastError();
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(file.get(), &information)) return LastError();
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return Failure{ERROR_CANT_ACCESS_FILE};
    const unsigned long long size =
        (static_cast<unsigned long long>(information.nFileSizeHigh) << 32) | information.nFileSizeLow;
    if (size > maxBytes) return Failure{ERROR_FILE_TOO_LARGE};
    std::string bytes(static_cast<size_t>(size), '\0');
    size_t read = 0;
    while (read < bytes.size()) {
        DWORD chunk = 0;
        if (!::ReadFile(file.get(), bytes.data() + read, static_cast<DWORD>(bytes.size() - read), &chunk, nullptr))
            return LastError();
        if (chunk == 0) break;
        read += chunk;
    }
    bytes.resize(read);
    return bytes;
}

}  // namespace Qv::platform::windows
