#pragma once
// The state that several fakes of the simulated device must agree on: the files and their
// signatures, the signed-in user and the environments, and the installed DeviceControlTool.exe.
// Each fake keeps the rest of its state to itself.
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/ICodeSignatures.h"
#include "platform/sim/Recent.h"
#include "platform/sim/SimTool.h"

namespace Qv::Sim {

struct SimWorld {
    SimWorld();

    std::mutex mutex;  // guards every member below

    std::set<std::wstring> files;  // lower-case paths
    // What files hold, for the files that were written; hard links share one text.
    std::map<std::wstring, std::shared_ptr<std::string>> contents;  // by lower-case path
    std::set<std::wstring> undeletable;  // names that cannot be removed (in use, or access denied)
    std::wstring temporaryFolder = L"C:\\Windows\\Temp\\";
    std::wstring systemFolder = L"C:\\Windows\\system32";
    std::map<std::wstring, std::vector<platform::RawSignature>> signatures;         // by lower-case path
    std::map<std::wstring, std::vector<platform::RawSignature>> catalogSignatures;  // by lower-case path
    std::wstring modulePath = L"C:\\Program Files\\DeviceControl\\DeviceControlService.dll";

    std::map<std::wstring, std::wstring> environment;      // the service's, by upper-case name
    std::map<std::wstring, std::wstring> userEnvironment;  // the signed-in user's
    bool signedIn = true;
    bool runningAsSystem = true;
    bool impersonating = false;  // the client or the user, on any thread
    bool commandProcessorMissing = false;  // `system` cannot start cmd.exe: it answers -1

    // Folders that exist (lower-case), beyond the files' own; the service's store folders with
    // the access list they were made with (SDDL), and the paths that are reparse points.
    std::set<std::wstring> folders;
    std::map<std::wstring, std::wstring> folderAccess;
    std::set<std::wstring> reparsePoints;
    std::wstring programDataFolder = L"C:\\ProgramData";

    SimTool tool;
};

std::wstring Lower(std::wstring text);
std::wstring Upper(std::wstring text);
// %VAR% expansion; unknown names stay as written.
std::wstring Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text);

}  // namespace Qv::Sim
