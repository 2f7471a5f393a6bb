#pragma once
// The simulated device: one coherent fake laptop behind every port, composed of one fake per
// port and the small world they share. Tests arrange its state, act through the real entry
// points and assert on answers, this state and the log.
#include <memory>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/SimClock.h"
#include "platform/sim/SimCodeSignatures.h"
#include "platform/sim/SimFileSystem.h"
#include "platform/sim/SimNamedEvents.h"
#include "platform/sim/SimProcessLauncher.h"
#include "platform/sim/SimRpcCall.h"
#include "platform/sim/SimStorePackages.h"
#include "platform/sim/SimThreads.h"
#include "platform/sim/SimUserSession.h"
#include "platform/sim/SimUuidGenerator.h"
#include "platform/sim/SimWmi.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

class SimDevice : public platform::Platform {
public:
    SimDevice();

    platform::IUuidGenerator& Uuids() override { return uuids_; }
    platform::INamedEvents& Events() override { return events_; }
    platform::ICodeSignatures& Signatures() override { return signatures_; }
    platform::IFileSystem& Files() override { return files_; }
    platform::IUserSession& User() override { return user_; }
    platform::IProcessLauncher& Processes() override { return processes_; }
    platform::IRpcCall& Rpc() override { return rpc_; }
    platform::IClock& Clock() override { return clock_; }
    platform::IWmi& Wmi() override { return wmi_; }
    platform::IStorePackages& Packages() override { return packages_; }
    platform::IThreads& Threads() override { return threads_; }

    // The fakes whose state tests drive directly.
    SimClock& SimulatedClock() { return clock_; }
    SimNamedEvents& SimulatedEvents() { return events_; }
    SimWmi& SimulatedWmi() { return wmi_; }
    SimStorePackages& SimulatedPackages() { return packages_; }
    // Calls of any port, this device's and its areas', failed on purpose.
    SimFaults& Faults() { return world_.faults; }

    // --- arrangement ---
    void SetSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures);
    // A catalog-signed file: its signatures are found only through the catalog.
    void SetCatalogSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures);
    void SetEnvironment(const std::wstring& name, const std::wstring& value);
    void SetUserEnvironment(const std::wstring& name, const std::wstring& value);
    void SetFolderAccess(const std::wstring& folder, platform::Result<platform::FolderAccess> access) {
        files_.SetFolderAccess(folder, std::move(access));
    }
    void SetCaller(SimCaller caller) { rpc_.SetCaller(std::move(caller)); }
    platform::OwnedHandle MakeProcessHandle(uint32_t processId) { return rpc_.MakeProcessHandle(processId); }
    void AddFile(const std::wstring& path);
    void RemoveFile(const std::wstring& path);
    void SetModulePath(const std::wstring& path);
    // No user at the console (before sign-in, or between sessions).
    void SetSignedIn(bool signedIn);
    void SetRunningAsSystem(bool system);
    // The tool's state; change it only while no command runs.
    SimTool& Tool() { return world_.tool; }
    // Installs a signed tool beside the module, signed with `key`.
    void InstallTool(const std::vector<uint8_t>& key, int32_t status = 0);
    // Installs a file beside the module, signed with `key`; answers its path.
    std::wstring InstallSigned(const std::wstring& fileName, const std::vector<uint8_t>& key, int32_t status = 0);

    // --- observations ---
    size_t UuidsIssued() const { return uuids_.Issued(); }
    std::vector<platform::EventHandle> ClosedEvents() const { return events_.Closed(); }
    std::vector<uint32_t> Sleeps() const { return clock_.Sleeps(); }
    // Whether any thread impersonates.
    bool Impersonating();
    int OpenProcessHandles() const { return rpc_.OpenProcessHandles(); }
    // The most recent command lines run as the user, oldest first.
    std::vector<std::wstring> CommandLines() const { return processes_.CommandLines(); }
    std::vector<std::wstring> StartedPackages() const { return processes_.StartedPackages(); }
    // Commands the service ran through the command processor (`system`), oldest first.
    std::vector<std::string> ProcessorCommands() const { return processes_.ProcessorCommands(); }
    // Command lines the service ran itself with a bounded wait, oldest first, and how many of
    // those runs were ended for hanging.
    std::vector<std::wstring> BoundedCommandLines() const { return processes_.BoundedCommandLines(); }
    size_t StalledRunsEnded() const { return processes_.StalledRunsEnded(); }
    // A file's text as written (empty when it has none), and arranging files with text (a file
    // written so is SYSTEM's).
    std::string FileText(const std::wstring& path);
    void WriteFile(const std::wstring& path, const std::string& text);
    // A second name for the file at `target` (a hard link): the two share one text.
    void LinkFile(const std::wstring& link, const std::wstring& target);
    // A name that cannot be removed (a file in use, or a folder that denies it).
    void SetUndeletable(const std::wstring& path);
    // Runs `body` on the world under its lock (arranging an area's simulated state).
    template <class Body>
    void WithWorld(Body&& body) {
        std::lock_guard<std::mutex> lock(world_.mutex);
        body(world_);
    }
    int PinnedFiles() const { return files_.PinnedFiles(); }
    // The world itself, for a fake of an area's port made on this device (lock its mutex).
    SimWorld& World() { return world_; }

private:
    SimWorld world_;
    SimUuidGenerator uuids_{world_.faults};
    SimNamedEvents events_{world_.faults};
    SimCodeSignatures signatures_{world_};
    SimFileSystem files_{world_};
    SimUserSession user_{world_};
    SimProcessLauncher processes_{world_};
    SimRpcCall rpc_{world_};
    SimClock clock_;
    SimWmi wmi_{world_.faults};
    SimStorePackages packages_{world_};
    SimThreads threads_;
};

}  // namespace Qv::Sim
