// The store's files on Windows. Every name is opened without following a reparse point at its
// last step (FILE_FLAG_OPEN_REPARSE_POINT), folders are held without delete sharing so that they
// cannot be renamed or replaced while held, files are created with CREATE_NEW and the store's
// own access list, and ownership is read and set through the handle that was checked.
#include <windows.h>
#include <aclapi.h>
#include <knownfolders.h>
#include <sddl.h>
#include <shlobj.h>

#include "areas/expmodes/IStoreFiles.h"
#include "platform/windows/raii/com.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

// SYSTEM and Administrators full control, Users read and run; protected from inheritance.
constexpr wchar_t kStoreAccess[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;BU)";
// What lets someone other than the owner's peers change a folder or what is in it.
constexpr DWORD kChangeRights = GENERIC_ALL | GENERIC_WRITE | WRITE_DAC | WRITE_OWNER | DELETE | FILE_ADD_FILE |
                                FILE_ADD_SUBDIRECTORY | FILE_DELETE_CHILD | FILE_WRITE_ATTRIBUTES | FILE_WRITE_EA;

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

unique_handle Open(const std::wstring& path, DWORD access, DWORD share, DWORD flags) {
    return unique_handle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING,
                                     flags | FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// The account the service runs as: SYSTEM on a real machine, the user under Wine.
bool IsServiceAccount(PSID sid) {
    unique_handle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put())) return false;
    union {
        TOKEN_USER user;
        BYTE bytes[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    } buffer{};
    DWORD size = 0;
    return GetTokenInformation(token.get(), TokenUser, &buffer, sizeof buffer, &size) && EqualSid(sid, buffer.user.User.Sid);
}

bool IsTrustedSid(PSID sid) {
    return sid != nullptr && (IsWellKnownSid(sid, WinLocalSystemSid) || IsWellKnownSid(sid, WinBuiltinAdministratorsSid) ||
                              IsServiceAccount(sid));
}

// TrustedInstaller's service SID, S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464.
bool IsTrustedInstaller(PSID sid) {
    static const DWORD kRids[] = {80, 956008885, 3418522649, 1831038044, 1853292631, 2271478464};
    SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
    if (!IsValidSid(sid) || *GetSidSubAuthorityCount(sid) != 6) return false;
    if (memcmp(GetSidIdentifierAuthority(sid), &nt, sizeof nt) != 0) return false;
    for (DWORD i = 0; i < 6; ++i)
        if (*GetSidSubAuthority(sid, i) != kRids[i]) return false;
    return true;
}

std::wstring SidText(PSID sid) {
    unique_hlocal text;
    if (sid == nullptr || !ConvertSidToStringSidW(sid, reinterpret_cast<LPWSTR*>(text.put()))) return L"";
    return static_cast<const wchar_t*>(text.get());
}

// The store's access list as a security descriptor, owned.
Result<unique_hlocal> StoreDescriptor() {
    unique_hlocal descriptor;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kStoreAccess, SDDL_REVISION_1,
                                                              reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()),
                                                              nullptr))
        return LastError();
    return descriptor;
}

Result<BY_HANDLE_FILE_INFORMATION> Describe(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (!GetFileInformationByHandle(file, &info)) return LastError();
    return info;
}

// This thread on a copy of the process's token with the privileges that reach any folder's
// owner and list enabled; the thread's earlier token is put back at the end.
class PrivilegedThread {
public:
    PrivilegedThread() {
        HANDLE current = nullptr;
        if (OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &current)) earlier_.reset(current);
        if (!ImpersonateSelf(SecurityImpersonation)) return;
        active_ = true;
        unique_handle token;
        if (!OpenThreadToken(GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, FALSE, token.put())) return;
        for (const wchar_t* name : {SE_TAKE_OWNERSHIP_NAME, SE_RESTORE_NAME}) {
            TOKEN_PRIVILEGES privileges{1, {{{0, 0}, SE_PRIVILEGE_ENABLED}}};
            if (LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid))
                AdjustTokenPrivileges(token.get(), FALSE, &privileges, 0, nullptr, nullptr);
        }
    }
    ~PrivilegedThread() {
        if (active_) SetThreadToken(nullptr, earlier_.get());
    }
    PrivilegedThread(const PrivilegedThread&) = delete;
    PrivilegedThread& operator=(const PrivilegedThread&) = delete;

private:
    unique_handle earlier_;
    bool active_ = false;
};

class WinStoreFiles final : public IStoreFiles {
public:
    Result<std::wstring> ProgramDataFolder(std::wstring& path) override {
        unique_cotaskmem folder;
        const HRESULT hr = SHGetKnownFolderPath(FOLDERID_ProgramData, KF_FLAG_CREATE, nullptr,
                                                reinterpret_cast<PWSTR*>(folder.put()));
        path = folder ? static_cast<const wchar_t*>(folder.get()) : L"";
        if (FAILED(hr)) return Failure{hr};
        return path;
    }

    Result<bool> Exists(const std::wstring& path) override {
        if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return true;
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return false;
        return Failure{static_cast<int32_t>(error)};
    }

    Result<OwnedHandle> HoldFolder(const std::wstring& path) override {
        // No delete sharing: the folder cannot be renamed, deleted or turned into a junction.
        unique_handle folder = Open(path, FILE_READ_ATTRIBUTES | READ_CONTROL, FILE_SHARE_READ | FILE_SHARE_WRITE, 0);
        if (!folder) return LastError();
        const auto info = Describe(folder.get());
        if (!info) return Failure{info.Status()};
        if ((info->dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return Failure{kReparsePoint};
        if ((info->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return Failure{ERROR_DIRECTORY};
        return share_handle(std::move(folder));
    }

    Result<void> CreateFolder(const std::wstring& path) override {
        auto descriptor = StoreDescriptor();
        if (!descriptor) return Failure{descriptor.Status()};
        SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor->get(), FALSE};
        if (!CreateDirectoryW(path.c_str(), &security)) return LastError();
        return Success();
    }

    Result<Ownership> FolderOwnership(const std::wstring& path) override {
        unique_handle folder = Open(path, READ_CONTROL, FILE_SHARE_READ | FILE_SHARE_WRITE, 0);
        if (!folder) return LastError();
        PSID owner = nullptr;
        PACL dacl = nullptr;
        unique_hlocal descriptor;
        const DWORD status = GetSecurityInfo(folder.get(), SE_FILE_OBJECT,
                                             OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr,
                                             &dacl, nullptr, reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()));
        if (status != ERROR_SUCCESS) return Failure{static_cast<int32_t>(status)};
        Ownership ownership;
        ownership.owner = SidText(owner);
        ownership.trustedOwner = IsTrustedSid(owner);
        ownership.othersMayChange = dacl == nullptr;  // no list: everyone has every right
        for (DWORD i = 0; dacl != nullptr && i < dacl->AceCount; ++i) {
            void* entry = nullptr;
            if (!GetAce(dacl, i, &entry)) return LastError();
            const auto* header = static_cast<const ACE_HEADER*>(entry);
            if (header->AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
            const auto* allowed = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
            PSID sid = const_cast<DWORD*>(&allowed->SidStart);
            if (IsTrustedSid(sid) || IsTrustedInstaller(sid) || IsWellKnownSid(sid, WinCreatorOwnerSid)) continue;
            if ((allowed->Mask & kChangeRights) != 0) ownership.othersMayChange = true;
        }
        return ownership;
    }

    Result<void> TakeOver(const std::wstring& path) override {
        PrivilegedThread privileged;
        unique_handle folder = Open(path, READ_CONTROL | WRITE_DAC | WRITE_OWNER | FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, 0);
        if (!folder) return LastError();
        const auto info = Describe(folder.get());
        if (!info) return Failure{info.Status()};
        if ((info->dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return Failure{kReparsePoint};
        auto descriptor = StoreDescriptor();
        if (!descriptor) return Failure{descriptor.Status()};
        BOOL present = FALSE;
        BOOL defaulted = FALSE;
        PACL dacl = nullptr;
        if (!GetSecurityDescriptorDacl(descriptor->get(), &present, &dacl, &defaulted)) return LastError();
        BYTE systemSid[SECURITY_MAX_SID_SIZE];
        DWORD sidSize = sizeof systemSid;
        if (!CreateWellKnownSid(WinLocalSystemSid, nullptr, systemSid, &sidSize)) return LastError();
        const DWORD status = SetSecurityInfo(
            folder.get(), SE_FILE_OBJECT,
            OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, systemSid,
            nullptr, dacl, nullptr);
        if (status != ERROR_SUCCESS) return Failure{static_cast<int32_t>(status)};
        return Success();
    }

    Result<std::string> Read(const std::wstring& path) override {
        unique_handle file = Open(path, GENERIC_READ | READ_CONTROL, FILE_SHARE_READ, 0);
        if (!file) return LastError();
        const auto info = Describe(file.get());
        if (!info) return Failure{info.Status()};
        if ((info->dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return Failure{kReparsePoint};
        if ((info->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return Failure{ERROR_ACCESS_DENIED};
        if (info->nNumberOfLinks != 1) return Failure{kUntrustedFile};
        PSID owner = nullptr;
        unique_hlocal descriptor;
        const DWORD status = GetSecurityInfo(file.get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr,
                                             nullptr, nullptr, reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()));
        if (status != ERROR_SUCCESS) return Failure{static_cast<int32_t>(status)};
        if (!IsTrustedSid(owner)) return Failure{kUntrustedFile};
        std::string text;
        char chunk[4096];
        DWORD read = 0;
        while (ReadFile(file.get(), chunk, sizeof chunk, &read, nullptr) && read > 0) {
            text.append(chunk, read);
            if (text.size() > kMaxFileBytes) return Failure{kFileTooLarge};
        }
        return text;
    }

    Result<void> WriteNew(const std::wstring& path, const std::string& bytes) override {
        if (bytes.size() > kMaxFileBytes) return Failure{kFileTooLarge};
        auto descriptor = StoreDescriptor();
        if (!descriptor) return Failure{descriptor.Status()};
        SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor->get(), FALSE};
        // CREATE_NEW fails on any name that is taken, a link's included: nothing is written through one.
        unique_handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &security, CREATE_NEW,
                                       FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!file) return LastError();
        DWORD written = 0;
        if (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
            written != bytes.size() || !FlushFileBuffers(file.get()))
            return LastError();
        return Success();
    }

    Result<void> Rename(const std::wstring& from, const std::wstring& to) override {
        if (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return LastError();
        return Success();
    }

    Result<void> Remove(const std::wstring& path) override {
        // DeleteFileW removes a link's own name, never what it points at.
        if (!DeleteFileW(path.c_str())) return LastError();
        return Success();
    }

    Result<std::vector<std::wstring>> List(const std::wstring& folder, const std::wstring& prefix,
                                           const std::wstring& suffix) override {
        std::vector<std::wstring> found;
        WIN32_FIND_DATAW entry{};
        unique_find search(FindFirstFileW((folder + L"\\" + prefix + L"*").c_str(), &entry));
        if (!search) {
            const DWORD error = GetLastError();
            if (error == ERROR_FILE_NOT_FOUND) return found;
            return Failure{static_cast<int32_t>(error)};
        }
        do {
            const std::wstring name = entry.cFileName;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || name.size() < prefix.size() + suffix.size())
                continue;
            if (_wcsicmp(name.substr(name.size() - suffix.size()).c_str(), suffix.c_str()) == 0)
                found.push_back(folder + L"\\" + name);
        } while (FindNextFileW(search.get(), &entry));
        return found;
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IStoreFiles> Qv::platform::IStoreFiles::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinStoreFiles>();
}
