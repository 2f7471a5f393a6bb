#pragma once
// The files the service keeps for itself under ProgramData, in a folder that ordinary users
// share with it: they may have made a folder of the store's name first, or put a junction, a
// link or a file where the store is about to write. Each call does one step; SecureStore puts
// the steps together in the order that leaves a user no way in. Failures carry the Windows error.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Handles.h"
#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

class IStoreFiles {
public:
    static std::shared_ptr<IStoreFiles> Make(Platform& platform);

    // Statuses of refusals, beside the system's own errors.
    static constexpr int32_t kReparsePoint = 4395;  // ERROR_REPARSE_POINT_ENCOUNTERED
    static constexpr int32_t kUntrustedFile = 1307;  // ERROR_INVALID_OWNER
    static constexpr int32_t kAlreadyExists = 183;   // ERROR_ALREADY_EXISTS
    static constexpr int32_t kFileExists = 80;       // ERROR_FILE_EXISTS
    static constexpr int32_t kFileTooLarge = 223;    // ERROR_FILE_TOO_LARGE
    // No file of the store is larger: a larger one is not read, nor written.
    static constexpr size_t kMaxFileBytes = 1u << 20;

    // Who may change a folder.
    struct Ownership {
        std::wstring owner;            // the owner's SID as text
        bool trustedOwner = false;     // SYSTEM, Administrators, or the account the service runs as
        bool othersMayChange = false;  // anyone else may add, write, delete, or change the list or owner
    };

    virtual ~IStoreFiles() = default;
    // The ProgramData known folder, created when missing. A failure may still carry a path.
    virtual Result<std::wstring> ProgramDataFolder(std::wstring& path) = 0;
    // Whether the path exists; a failure when that cannot be told.
    virtual Result<bool> Exists(const std::wstring& path) = 0;
    // Holds the folder open until the handle is let go: meanwhile it cannot be renamed, deleted
    // or replaced by a junction. Refused for a reparse point (kReparsePoint) and for a file;
    // ERROR_FILE_NOT_FOUND or ERROR_PATH_NOT_FOUND when it is not there.
    virtual Result<OwnedHandle> HoldFolder(const std::wstring& path) = 0;
    // Creates this one folder (its parent must exist) with the store's access list; kAlreadyExists
    // when the name is taken, by whatever.
    virtual Result<void> CreateFolder(const std::wstring& path) = 0;
    virtual Result<Ownership> FolderOwnership(const std::wstring& path) = 0;
    // Makes SYSTEM the folder's owner and gives it the store's access list, nothing inherited:
    // SYSTEM and Administrators full control, Users read.
    virtual Result<void> TakeOver(const std::wstring& path) = 0;
    // A plain file's bytes, never read through a reparse point (kReparsePoint); refused
    // (kUntrustedFile) when anyone but SYSTEM, Administrators or the service's own account owns it,
    // or it has a second name.
    virtual Result<std::string> Read(const std::wstring& path) = 0;
    // Creates the file anew, with the store's access list: kFileExists when the name is taken,
    // whatever holds it (a file, a hard or symbolic link), so nothing is written through a link.
    // The bytes are flushed to the disk before it answers.
    virtual Result<void> WriteNew(const std::wstring& path, const std::string& bytes) = 0;
    // Gives the file `from` the name `to`, replacing whatever had it (the name, never a link's
    // target).
    virtual Result<void> Rename(const std::wstring& from, const std::wstring& to) = 0;
    // Removes the name (a link's name, never its target).
    virtual Result<void> Remove(const std::wstring& path) = 0;
    // The files in `folder` whose names begin with `prefix` and end with `suffix`, as full paths.
    virtual Result<std::vector<std::wstring>> List(const std::wstring& folder, const std::wstring& prefix,
                                                   const std::wstring& suffix) = 0;
};

}  // namespace Qv::platform
