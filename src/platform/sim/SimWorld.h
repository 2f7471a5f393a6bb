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
#include <thread>
#include <vector>

#include "platform/ICodeSignatures.h"
#include "platform/IStorePackages.h"
#include "platform/sim/Recent.h"
#include "platform/sim/SimFaults.h"
#include "platform/sim/SimTool.h"

namespace Qv::Sim {

struct SimWorld {
    SimWorld();

    // The faults armed for every port's fake; it has its own lock.
    SimFaults faults;

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
    // The signed-in user's token: 3, the limited half of an administrator's; 1, a standard user.
    int32_t userElevationType = 3;
    // Whom each thread acts as while it impersonates: the signed-in user (a user token) or the
    // RPC client; a thread not listed acts as the service's own account.
    std::map<std::thread::id, std::wstring> impersonations;
    // Who the program being run runs as: the service itself, or the signed-in user. Set by the
    // launcher around each run, under the lock.
    enum class RunAs { Service, User } runAs = RunAs::Service;
    // Programs that ran from somewhere other than the Windows folder: what a user planted on a
    // search path ("<image> <arguments>"). Such a program does nothing else here.
    Recent<std::wstring> plantedRuns;
    // PowerShell profile scripts that ran: a PowerShell started without -NoProfile runs its
    // user's profile, when there is one.
    Recent<std::wstring> profileRuns;
    bool commandProcessorMissing = false;  // `system` cannot start cmd.exe: it answers -1

    // Folders that exist (lower-case), beyond the files' own; the service's store folders with
    // the access list they were made with (SDDL), and the paths that are reparse points.
    std::set<std::wstring> folders;
    std::map<std::wstring, std::wstring> folderAccess;
    std::set<std::wstring> reparsePoints;
    // Junctions: a name that leads to another folder (lower-case path -> target as written); each
    // is a reparse point too. Paths through them are followed unless an operation says otherwise.
    std::map<std::wstring, std::wstring> junctions;
    // Owners of files and folders as SID texts, by lower-case path; one not listed is SYSTEM's.
    std::map<std::wstring, std::wstring> owners;
    // Folders held open without delete sharing: they cannot be renamed, deleted or replaced.
    std::map<std::wstring, int> heldFolders;
    std::wstring programDataFolder = L"C:\\ProgramData";

    // The signed-in user's account and the store packages installed on the machine, with the
    // users that have each. Without a package manager (an older system, Wine) every query fails.
    std::wstring userSecurityId = L"S-1-5-21-2079104543-3203125434-1873629513-1001";
    std::map<std::wstring, std::wstring> accounts;  // SID text -> account name
    struct Package {
        platform::StorePackage package;
        std::vector<platform::PackageUser> users;
    };
    std::vector<Package> packages;
    bool packageManagerAvailable = true;

    SimTool tool;
};

inline constexpr wchar_t kSystemSid[] = L"S-1-5-18";
inline constexpr wchar_t kAdministratorsSid[] = L"S-1-5-32-544";

// The SID text of whom the calling thread acts as: whom it impersonates, else the service's own
// account (SYSTEM, or NETWORK SERVICE for a service that does not run as SYSTEM). The world's
// lock held.
std::wstring ThreadUser(const SimWorld& world);

// A lower-case path with every junction on its way followed (the world's lock held).
std::wstring Follow(const SimWorld& world, const std::wstring& lowerPath);
bool IsReparsePoint(const SimWorld& world, const std::wstring& lowerPath);

std::wstring Lower(std::wstring text);
std::wstring Upper(std::wstring text);
// %VAR% expansion; unknown names stay as written.
std::wstring Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text);

}  // namespace Qv::Sim
