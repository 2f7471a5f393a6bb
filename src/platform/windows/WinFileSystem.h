#pragma once
#include "platform/IFileSystem.h"

namespace Qv::platform::windows {

// Paths, folder security and files, as the service process sees them.
class WinFileSystem : public IFileSystem {
public:
    std::wstring ExpandEnvironment(const std::wstring& text) override;
    Result<std::wstring> FullPath(const std::wstring& path) override;
    Result<FolderAccess> ReadFolderAccess(const std::wstring& folder) override;
    Result<std::wstring> ModulePath() override;
    bool FileExists(const std::wstring& path) override;
    Result<OwnedHandle> OpenForExecution(const std::wstring& path) override;
    std::wstring TemporaryFolder() override;
    std::wstring SystemFolder() override;
    Result<void> CreateNewFile(const std::wstring& path, const std::string& bytes) override;
    Result<std::string> ReadFile(const std::wstring& path, size_t maxBytes) override;
    Result<void> RemoveFile(const std::wstring& path) override;
};

}  // namespace Qv::platform::windows
