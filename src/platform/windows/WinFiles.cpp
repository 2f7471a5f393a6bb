// Paths, folder security, the user's environment and the clock.
#include <windows.h>
#include <aclapi.h>
#include <userenv.h>

#include <vector>

#include "platform/windows/WinPlatform.h"
#include "platform/windows/raii.h"

namespace Qv::platform::windows {

std::wstring WinFileSystem::ExpandEnvironment(const std::wstring& text) {
    DWORD size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    if (size == 0) return text;
    std::wstring out(size, L'\0');
    size = ExpandEnvironmentStringsW(text.c_str(), out.data(), size);
    if (size == 0) return text;
    out.resize(size - 1);
    return out;
}

std::optional<std::wstring> WinFileSystem::FullPath(const std::wstring& path, uint32_t& error) {
    DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (size == 0) {
        error = GetLastError();
        return std::nullopt;
    }
    std::wstring out(size, L'\0');
    size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(out.size()), out.data(), nullptr);
    if (size == 0 || size >= out.size()) {
        error = size == 0 ? GetLastError() : ERROR_INSUFFICIENT_BUFFER;
        return std::nullopt;
    }
    out.resize(size);
    return out;
}

FolderAccess WinFileSystem::ReadFolderAccess(const std::wstring& folder) {
    FolderAccess access;
    PSID owner = nullptr;
    PSID group = nullptr;
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD result = GetNamedSecurityInfoW(folder.c_str(), SE_FILE_OBJECT,
                                               OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                                   DACL_SECURITY_INFORMATION,
                                               &owner, &group, &dacl, nullptr, &descriptor);
    if (result != ERROR_SUCCESS) {
        access.error = result;
        return access;
    }
    scope_exit freeDescriptor([&] { LocalFree(descriptor); });
    access.read = true;
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

std::optional<std::wstring> WinUserSession::ExpandForUser(UserToken token, const std::wstring& text, uint32_t& error) {
    std::vector<wchar_t> buffer(32768);
    if (!ExpandEnvironmentStringsForUserW(static_cast<HANDLE>(token), text.c_str(), buffer.data(),
                                          static_cast<DWORD>(buffer.size()))) {
        error = GetLastError();
        return std::nullopt;
    }
    return std::wstring(buffer.data());
}

void WinClock::Sleep(uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace Qv::platform::windows
