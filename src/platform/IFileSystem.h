#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::platform {

// One access-allowed/denied entry of a folder's DACL, with its account looked up.
struct AccessEntry {
    uint8_t type = 0;  // ACE type: 0 access allowed, 1 access denied, ...
    uint32_t mask = 0;
    std::wstring domain;
    std::wstring name;
};

struct FolderAccess {
    bool hasDacl = false;
    std::vector<AccessEntry> entries;
};

// Paths and the file system, as the service itself sees them.
class IFileSystem {
public:
    virtual ~IFileSystem() = default;
    // %VAR% expansion with the service's environment; unknown names stay as written.
    virtual std::wstring ExpandEnvironment(const std::wstring& text) = 0;
    // Absolute, canonical path: "." and ".." resolved.
    virtual Result<std::wstring> FullPath(const std::wstring& path) = 0;
    virtual Result<FolderAccess> ReadFolderAccess(const std::wstring& folder) = 0;
    // Full path of this module's own file (the DLL, not the host).
    virtual Result<std::wstring> ModulePath() = 0;
    virtual bool FileExists(const std::wstring& path) = 0;
    // Opens a file for reading while forbidding writes, deletes and renames, so that what is
    // verified is what runs.
    virtual Result<OwnedHandle> OpenForExecution(const std::wstring& path) = 0;
    // The service's temporary folder, with its closing backslash (GetTempPathW).
    virtual std::wstring TemporaryFolder() = 0;
    // The system folder (GetSystemDirectoryW), without a closing backslash.
    virtual std::wstring SystemFolder() = 0;
    // Writes `bytes` to a file made anew at `path`: whatever is there (a file, a link) is removed
    // first, the file is created exclusively and refused, unwritten, when it turns out to be a
    // reparse point or to have another name (a hard link). Nothing is ever written through a link.
    virtual Result<void> CreateNewFile(const std::wstring& path, const std::string& bytes) = 0;
    // Removes the name (a link's own name, never what it leads to).
    virtual Result<void> RemoveFile(const std::wstring& path) = 0;
    // The bytes of a file of at most `maxBytes`, read while no one may write it; a larger file
    // is refused (223), and so is a reparse point (1920: not followed).
    virtual Result<std::string> ReadFile(const std::wstring& path, size_t maxBytes) = 0;
};

}  // namespace Qv::platform
