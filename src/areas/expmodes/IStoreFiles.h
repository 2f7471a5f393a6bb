#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// The files the service keeps for itself under ProgramData. Failures carry the Windows error.
class IStoreFiles {
public:
    static std::shared_ptr<IStoreFiles> Make(Platform& platform);

    virtual ~IStoreFiles() = default;
    // The ProgramData known folder, created when missing. A failure may still carry a path.
    virtual Result<std::wstring> ProgramDataFolder(std::wstring& path) = 0;
    // Whether the path exists; a failure when that cannot be told.
    virtual Result<bool> Exists(const std::wstring& path) = 0;
    // Creates the folder and every missing folder above it, each with an access list of its
    // own: SYSTEM and Administrators full control, Users read.
    virtual Result<void> CreateFolders(const std::wstring& path) = 0;
    // Whether any existing part of the path (a folder on the way or the file) is a reparse point
    // (a junction or a symbolic link).
    virtual Result<bool> HasReparsePoint(const std::wstring& path) = 0;
    virtual Result<std::string> Read(const std::wstring& path) = 0;
    // Writes `bytes` to a temporary file beside `path`, flushes it to the disk and renames it over
    // `path`: afterwards `path` holds the old text or the new one, never a part.
    virtual Result<void> Replace(const std::wstring& path, const std::string& bytes) = 0;
    virtual Result<void> Remove(const std::wstring& path) = 0;
};

}  // namespace Qv::platform
