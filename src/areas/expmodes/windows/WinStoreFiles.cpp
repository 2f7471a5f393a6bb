// The store's files on Windows: ProgramData, folders with an access list of their own, reparse
// points refused, and a save that replaces the file whole.
#include <windows.h>
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

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

std::wstring Parent(const std::wstring& path) {
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? L"" : path.substr(0, slash);
}

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

    Result<void> CreateFolders(const std::wstring& path) override {
        if (path.size() <= 3) return Success();
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES) return Success();
        auto parent = CreateFolders(Parent(path));
        if (!parent) return parent;
        unique_hlocal descriptor;
        if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kStoreAccess, SDDL_REVISION_1,
                                                                  reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()),
                                                                  nullptr)) {
            return LastError();
        }
        SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor.get(), FALSE};
        if (!CreateDirectoryW(path.c_str(), &security) && GetLastError() != ERROR_ALREADY_EXISTS) return LastError();
        return Success();
    }

    Result<bool> HasReparsePoint(const std::wstring& path) override {
        for (std::wstring part = path; part.size() > 3; part = Parent(part)) {
            const DWORD attributes = GetFileAttributesW(part.c_str());
            if (attributes == INVALID_FILE_ATTRIBUTES) {
                const DWORD error = GetLastError();
                if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) continue;
                return Failure{static_cast<int32_t>(error)};
            }
            if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return true;
        }
        return false;
    }

    Result<std::string> Read(const std::wstring& path) override {
        unique_handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!file) return LastError();
        std::string text;
        char chunk[4096];
        DWORD read = 0;
        while (ReadFile(file.get(), chunk, sizeof chunk, &read, nullptr) && read > 0) {
            text.append(chunk, read);
            if (text.size() > (1u << 20)) return Failure{ERROR_FILE_TOO_LARGE};  // not a file of ours
        }
        return text;
    }

    Result<void> Replace(const std::wstring& path, const std::string& bytes) override {
        const std::wstring temporary = path + L".tmp";
        {
            unique_handle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
            if (!file) return LastError();
            DWORD written = 0;
            if (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
                written != bytes.size() || !FlushFileBuffers(file.get())) {
                const Failure failure = LastError();
                file.reset();
                DeleteFileW(temporary.c_str());
                return failure;
            }
        }
        if (!MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
            const Failure failure = LastError();
            DeleteFileW(temporary.c_str());
            return failure;
        }
        return Success();
    }

    Result<void> Remove(const std::wstring& path) override {
        if (!DeleteFileW(path.c_str())) return LastError();
        return Success();
    }
};

}  // namespace
}  // namespace Qv::platform::windows

std::shared_ptr<Qv::platform::IStoreFiles> Qv::platform::IStoreFiles::Make(Platform&) {
    return std::make_shared<Qv::platform::windows::WinStoreFiles>();
}
