#pragma once
#include <map>
#include <mutex>

#include "platform/IFileSystem.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Windows path rules over the world's files, folders with arranged security.
class SimFileSystem : public platform::IFileSystem {
public:
    explicit SimFileSystem(SimWorld& world) : world_(world) {}

    std::wstring ExpandEnvironment(const std::wstring& text) override;
    platform::Result<std::wstring> FullPath(const std::wstring& path) override;
    platform::Result<platform::FolderAccess> ReadFolderAccess(const std::wstring& folder) override;
    platform::Result<std::wstring> ModulePath() override;
    bool FileExists(const std::wstring& path) override;
    platform::Result<platform::OwnedHandle> OpenForExecution(const std::wstring& path) override;
    std::wstring TemporaryFolder() override;
    std::wstring SystemFolder() override;
    platform::Result<void> CreateNewFile(const std::wstring& path, const std::string& bytes) override;
    platform::Result<std::string> ReadFile(const std::wstring& path, size_t maxBytes) override;
    platform::Result<void> RemoveFile(const std::wstring& path) override;

    void SetFolderAccess(const std::wstring& folder, platform::Result<platform::FolderAccess> access);
    // Files held open by OpenForExecution right now.
    int PinnedFiles() const;

private:
    bool Exists(const std::wstring& path);

    SimWorld& world_;
    mutable std::mutex mutex_;
    std::map<std::wstring, platform::Result<platform::FolderAccess>> folders_;  // by lower-case path
    int pinnedFiles_ = 0;
};

}  // namespace Qv::Sim
