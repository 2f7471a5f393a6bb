#pragma once
#include <mutex>

#include "areas/expmodes/IStoreFiles.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// The store's files in the simulated laptop's world. A save can be cut off after any number of
// bytes, as a crash or a power loss would.
class SimStoreFiles : public platform::IStoreFiles {
public:
    explicit SimStoreFiles(SimWorld& world) : world_(world) {}

    platform::Result<std::wstring> ProgramDataFolder(std::wstring& path) override;
    platform::Result<bool> Exists(const std::wstring& path) override;
    platform::Result<void> CreateFolders(const std::wstring& path) override;
    platform::Result<bool> HasReparsePoint(const std::wstring& path) override;
    platform::Result<std::string> Read(const std::wstring& path) override;
    platform::Result<void> Replace(const std::wstring& path, const std::string& bytes) override;
    platform::Result<void> Remove(const std::wstring& path) override;

    // --- arrangement ---
    // The next saves stop after this many bytes of the temporary file (-1: they complete).
    void CutSavesAfter(long bytes);
    void FailExists(const std::wstring& path, int32_t error);
    void FailCreate(int32_t error);
    void SetProgramDataMissing(bool missing);
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
};

SimStoreFiles& SimulatedStore(platform::Platform& device);

}  // namespace Qv::Sim
