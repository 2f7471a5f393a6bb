#pragma once
// The simulated device: one coherent fake laptop behind every port. Tests arrange its state,
// act through the real entry points and assert on answers, this state and the log.
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Qv::Sim {

// The process on the other end of the simulated RPC call.
struct SimCaller {
    long inquireStatus = 1725;  // RPC_S_NO_CALL_ACTIVE until a test puts a caller on the line
    uint32_t processId = 0;
    bool processAlive = true;          // false: OpenProcess fails
    std::wstring packageFamilyName;    // empty: an unpackaged process (APPMODEL_ERROR_NO_PACKAGE)
    long impersonateStatus = 0;
};

// What the simulated DeviceControlTool.exe does when it is run.
struct SimTool {
    int mouseSpeed = 10;
    bool buttonsSwapped = false;
    // Scripted replies by function word, taking precedence over the tool's own behaviour
    // (e.g. "GetMouseSpeed" -> "-1\r\n").
    std::map<std::wstring, std::string> replies;
    bool failsToStart = false;
};

class SimDevice : public platform::Platform,
                  private platform::IUuidGenerator,
                  private platform::INamedEvents,
                  private platform::ICodeSignatures,
                  private platform::IFileSystem,
                  private platform::IUserSession,
                  private platform::IRpcCall,
                  private platform::IClock {
public:
    SimDevice();

    platform::IUuidGenerator& Uuids() override { return *this; }
    platform::INamedEvents& Events() override { return *this; }
    platform::ICodeSignatures& Signatures() override { return *this; }
    platform::IFileSystem& Files() override { return *this; }
    platform::IUserSession& User() override { return *this; }
    platform::IRpcCall& Rpc() override { return *this; }
    platform::IClock& Clock() override { return *this; }

    // --- arrangement ---
    void SetSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures);
    // A catalog-signed file: its signatures are found only through the catalog.
    void SetCatalogSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures);
    void SetEnvironment(const std::wstring& name, const std::wstring& value);
    void SetUserEnvironment(const std::wstring& name, const std::wstring& value);
    void SetFolderAccess(const std::wstring& folder, platform::FolderAccess access);
    void SetCaller(SimCaller caller);
    // Handles of processes the simulated system knows (for the RPC helper's fallback table).
    platform::OwnedHandle MakeProcessHandle(uint32_t processId);
    void AddFile(const std::wstring& path);
    void RemoveFile(const std::wstring& path);
    void SetModulePath(const std::wstring& path);
    // No user at the console (before sign-in, or between sessions).
    void SetSignedIn(bool signedIn);
    void SetRunningAsSystem(bool system);
    SimTool& Tool() { return tool_; }
    // Installs a signed tool beside the module, signed with `key`.
    void InstallTool(const std::vector<uint8_t>& key, int32_t status = 0);

    // --- observations ---
    size_t UuidsIssued() const;
    std::vector<platform::EventHandle> ClosedEvents() const;
    std::vector<uint32_t> Sleeps() const;
    bool Impersonating() const;
    int OpenProcessHandles() const;
    // Command lines of every process started as the user, in order.
    std::vector<std::wstring> CommandLines() const;
    std::vector<std::wstring> StartedPackages() const;
    int PinnedFiles() const;

private:
    std::wstring NewUuidString() override;
    void Close(platform::EventHandle handle) override;
    std::vector<platform::RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) override;
    std::wstring ExpandEnvironment(const std::wstring& text) override;
    std::optional<std::wstring> FullPath(const std::wstring& path, uint32_t& error) override;
    platform::FolderAccess ReadFolderAccess(const std::wstring& folder) override;
    std::optional<std::wstring> ExpandForUser(platform::UserToken token, const std::wstring& text,
                                              uint32_t& error) override;
    long InquireCallerProcessId(uint32_t& processId) override;
    platform::OwnedHandle OpenProcessForQuery(uint32_t processId) override;
    platform::OwnedHandle DuplicateForQuery(void* processHandle) override;
    long ImpersonateClient() override;
    void RevertToSelf() override;
    long GetPackageFamilyName(void* processHandle, uint32_t& length, wchar_t* buffer) override;
    void Sleep(uint32_t milliseconds) override;
    std::wstring ModulePath() override;
    bool FileExists(const std::wstring& path) override;
    platform::OwnedHandle OpenForExecution(const std::wstring& path, uint32_t& error) override;
    bool SessionApiAvailable() override { return true; }
    uint32_t ActiveConsoleSessionId() override;
    uint32_t FindActiveSession() override;
    platform::OwnedHandle QueryUserToken(uint32_t sessionId, uint32_t& error) override;
    platform::OwnedHandle DuplicatePrimaryToken(void* token) override;
    bool RunningAsSystem() override;
    bool ImpersonateLoggedOnUser(void* token) override;
    bool RevertImpersonation() override;
    bool RunAndCapture(void* token, const std::wstring& applicationPath, const std::wstring& commandLine,
                       std::string& output) override;
    bool StartPackagedApplication(void* token, const std::wstring& packageFamilyName,
                                  const std::wstring& executable) override;
    std::string RunTool(const std::vector<std::wstring>& args);

    std::wstring Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text) const;

    struct SimProcess {
        uint32_t processId;
    };

    mutable std::mutex mutex_;
    std::mt19937_64 random_;
    size_t uuidsIssued_ = 0;
    std::vector<platform::EventHandle> closedEvents_;
    std::map<std::wstring, std::vector<platform::RawSignature>> signatures_;         // by lower-case path
    std::map<std::wstring, std::vector<platform::RawSignature>> catalogSignatures_;  // by lower-case path
    std::map<std::wstring, std::wstring> environment_;                                // by upper-case name
    std::map<std::wstring, std::wstring> userEnvironment_;
    std::map<std::wstring, platform::FolderAccess> folders_;  // by lower-case path
    SimCaller caller_;
    bool impersonating_ = false;
    int openProcessHandles_ = 0;
    std::vector<uint32_t> sleeps_;
    std::set<std::wstring> files_;  // lower-case paths
    std::wstring modulePath_ = L"C:\\Program Files\\DeviceControl\\DeviceControlService.dll";
    bool signedIn_ = true;
    bool runningAsSystem_ = true;
    int pinnedFiles_ = 0;
    SimTool tool_;
    std::vector<std::wstring> commandLines_;
    std::vector<std::wstring> startedPackages_;
};

}  // namespace Qv::Sim
