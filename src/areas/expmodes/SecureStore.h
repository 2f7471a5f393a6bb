#pragma once
// The experience modes' folder under ProgramData and the files in it. The service runs as
// SYSTEM and every signed-in user can create folders in ProgramData, so nothing found there is
// taken on trust:
// - every folder of the store's path below ProgramData is held open while it is used, so it
//   cannot be swapped for a junction between a check and a write, and one that is a reparse
//   point is refused before anything is created below it;
// - a folder found with another owner, or that others may change, is taken over: SYSTEM becomes
//   its owner and it gets the store's own access list;
// - a file is written under a fresh random name with "create new" (never through what a user
//   left under a name), then renamed over the old one; what an interrupted save left is removed;
// - a file is read only when SYSTEM or Administrators own it and it has no second name.
#include <string>
#include <vector>

#include "core/logging.h"
#include "platform/Handles.h"
#include "platform/Result.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class SecureStore {
public:
    explicit SecureStore(Logging::TraceLogger* logger) : logger_(logger) {}

    // Makes or secures each folder of `below` (for example L"\\QV\\DeviceControl\\ExpModes")
    // under `base`, each one checked before the next is made, and answers the store's folder.
    // Raises std::system_error: "exists: <path>" when a folder cannot be looked at,
    // "create_directories: <path>" when one cannot be made or secured (a reparse point included).
    std::wstring Prepare(const std::wstring& base, const std::wstring& below);

    const std::wstring& Folder() const { return folder_; }

    platform::Result<std::string> Read(const std::wstring& name);
    // The file `name` holds `bytes` afterwards, or what it held before: never a part.
    platform::Result<void> Replace(const std::wstring& name, const std::string& bytes);
    platform::Result<void> Remove(const std::wstring& name);
    // Removes what interrupted saves of `name` left behind (its temporary files).
    void RemoveLeftovers(const std::wstring& name);

private:
    // Holds every folder from below the base down to the store's; a failure (logged) when one
    // cannot be held, a reparse point among them.
    platform::Result<std::vector<platform::OwnedHandle>> HoldChain(const char* operation);
    // Takes over a folder that anyone but SYSTEM and Administrators owns or may change.
    platform::Result<void> Secure(const std::wstring& folder);

    Logging::TraceLogger* logger_;
    std::wstring base_;
    std::vector<std::wstring> chain_;  // the store's folders below the base, outermost first
    std::wstring folder_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
