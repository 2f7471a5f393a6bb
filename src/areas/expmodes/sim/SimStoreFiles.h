#pragma once
#include <functional>
#include <mutex>

#include "areas/expmodes/IStoreFiles.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The store's files in the simulated laptop's world, with what a user can do to them: folders
// and files of other owners and with other access lists (SimWorld::owners, folderAccess),
// junctions that paths follow (SimWorld::junctions), hard links (LinkFile), and folders that
// are held open and so cannot be swapped. A save can be cut off after any number of bytes, as a
// crash or a power loss would, and an attacker can act just before a file is written.
class SimStoreFiles : public platform::IStoreFiles {
public:
    explicit SimStoreFiles(SimWorld& world) : world_(world) {}

    platform::Result<std::wstring> ProgramDataFolder(std::wstring& path) override;
    platform::Result<bool> Exists(const std::wstring& path) override;
    platform::Result<platform::OwnedHandle> HoldFolder(const std::wstring& path) override;
    platform::Result<void> CreateFolder(const std::wstring& path) override;
    platform::Result<Ownership> FolderOwnership(const std::wstring& path) override;
    platform::Result<void> TakeOver(const std::wstring& path) override;
    platform::Result<std::string> Read(const std::wstring& path) override;
    platform::Result<void> WriteNew(const std::wstring& path, const std::string& bytes) override;
    platform::Result<void> Rename(const std::wstring& from, const std::wstring& to) override;
    platform::Result<void> Remove(const std::wstring& path) override;
    platform::Result<std::vector<std::wstring>> List(const std::wstring& folder, const std::wstring& prefix,
                                                     const std::wstring& suffix) override;

    // --- arrangement ---
    // The next writes stop after this many bytes (-1: they complete).
    void CutSavesAfter(long bytes);
    void FailExists(const std::wstring& path, int32_t error);  // 0: no more
    void FailCreate(int32_t error);
    void SetProgramDataMissing(bool missing);
    // Runs `attack` once, just before the next file is written (between the store's checks and
    // its write), without the world's lock.
    void BeforeNextWrite(std::function<void()> attack);
    // A user's move: the folder's name is given to a junction to `target`. It fails, as
    // renaming the folder away would, while the folder is held open. True when it was done.
    bool SwapForJunction(const std::wstring& folder, const std::wstring& target);
    // --- observation ---
    int Saves() const;

private:
    SimWorld& world_;
    mutable std::mutex mutex_;
    long cutAfter_ = -1;
    std::map<std::wstring, int32_t> existsFailures_;
    int32_t createFailure_ = 0;
    bool programDataMissing_ = false;
    int saves_ = 0;
    std::function<void()> beforeWrite_;
};

SimStoreFiles& SimulatedStore(platform::Platform& device);

}  // namespace Qv::Sim
