#pragma once
// The ports: what the logic needs from the operating system, in portable types.
// Windows adapters live in platform/windows, the simulated device in platform/sim.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Qv::platform {

// Opaque kernel object handle (a Windows HANDLE on Windows, a simulated object id otherwise).
using EventHandle = void*;

// Fresh UUIDs in the system's standard text form (lower-case hex with hyphens).
class IUuidGenerator {
public:
    virtual ~IUuidGenerator() = default;
    virtual std::wstring NewUuidString() = 0;
};

// Named kernel events of the device status subscriptions.
class INamedEvents {
public:
    virtual ~INamedEvents() = default;
    // Closing a null handle does nothing; a failed close is not reported.
    virtual void Close(EventHandle handle) = 0;
};

// A kernel handle owned by whoever holds it; the adapter's deleter closes it. Null means none.
using OwnedHandle = std::shared_ptr<void>;
// An access token of a user (a Windows HANDLE on Windows); not owned.
using UserToken = void*;

// One signature of a file as the system's trust provider reports it.
struct RawSignature {
    std::vector<uint8_t> publicKey;  // DER bytes of the signer certificate's public key
    int32_t status = 0;              // the trust provider's verdict (0 = trusted)
    std::wstring subject;            // X.500 text of the signer, "CN=..., O=..., L=..., S=..., C=..."
    std::wstring issuer;             // X.500 text of the signer certificate's issuer
};

// Code-signature reading (Authenticode).
class ICodeSignatures {
public:
    virtual ~ICodeSignatures() = default;
    // Every signature of the file, primary first, then each nested one; signatures without a
    // readable signer certificate are left out. With `useCatalog` the file is verified through
    // the system catalog that lists it, and a file that no catalog lists has no signatures.
    virtual std::vector<RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) = 0;
};

// One access-allowed/denied entry of a folder's DACL, with its account looked up.
struct AccessEntry {
    uint8_t type = 0;  // ACE type: 0 access allowed, 1 access denied, ...
    uint32_t mask = 0;
    std::wstring domain;
    std::wstring name;
};

struct FolderAccess {
    bool read = false;     // false: the security information could not be read
    uint32_t error = 0;    // the system's error number when not read
    bool hasDacl = false;
    std::vector<AccessEntry> entries;
};

// Paths and the file system, as the service itself sees them.
class IFileSystem {
public:
    virtual ~IFileSystem() = default;
    // %VAR% expansion with the service's environment.
    virtual std::wstring ExpandEnvironment(const std::wstring& text) = 0;
    // Absolute, canonical path (GetFullPathNameW: "." and ".." resolved); null with `error` set on failure.
    virtual std::optional<std::wstring> FullPath(const std::wstring& path, uint32_t& error) = 0;
    virtual FolderAccess ReadFolderAccess(const std::wstring& folder) = 0;
    // Full path of this module's own file (GetModuleFileNameW of the DLL); empty on failure.
    virtual std::wstring ModulePath() = 0;
    virtual bool FileExists(const std::wstring& path) = 0;
    // Opens a file for reading while forbidding writes, deletes and renames, so that what is
    // verified is what runs; null with `error` set on failure.
    virtual OwnedHandle OpenForExecution(const std::wstring& path, uint32_t& error) = 0;
};

// The logged-on user.
class IUserSession {
public:
    static constexpr uint32_t kNoSession = 0xFFFFFFFF;

    virtual ~IUserSession() = default;
    // Whether the terminal-services session functions are there on this system.
    virtual bool SessionApiAvailable() = 0;
    virtual uint32_t ActiveConsoleSessionId() = 0;
    // An active session found by enumeration, or kNoSession.
    virtual uint32_t FindActiveSession() = 0;
    // The session user's token; null with `error` set on failure.
    virtual OwnedHandle QueryUserToken(uint32_t sessionId, uint32_t& error) = 0;
    virtual OwnedHandle DuplicatePrimaryToken(void* token) = 0;
    virtual bool RunningAsSystem() = 0;
    virtual bool ImpersonateLoggedOnUser(void* token) = 0;
    virtual bool RevertImpersonation() = 0;
    // Runs `commandLine` (the image `applicationPath`) as the token's user with its environment,
    // hidden, waits for it and returns what it wrote to standard output and error.
    virtual bool RunAndCapture(void* token, const std::wstring& applicationPath, const std::wstring& commandLine,
                               std::string& output) = 0;
    // Starts the executable of a store package for the token's user, without waiting.
    virtual bool StartPackagedApplication(void* token, const std::wstring& packageFamilyName,
                                          const std::wstring& executable) = 0;
    // %VAR% expansion with the environment of the token's user; null with `error` set on failure.
    virtual std::optional<std::wstring> ExpandForUser(UserToken token, const std::wstring& text, uint32_t& error) = 0;
};

// The RPC call being served on the current thread.
class IRpcCall {
public:
    virtual ~IRpcCall() = default;
    // RPC status (0 on success) and the calling process's id.
    virtual long InquireCallerProcessId(uint32_t& processId) = 0;
    // The process opened for limited query access; null when it cannot be opened.
    virtual OwnedHandle OpenProcessForQuery(uint32_t processId) = 0;
    // A duplicate of another process handle with limited query access; null on failure.
    virtual OwnedHandle DuplicateForQuery(void* processHandle) = 0;
    virtual long ImpersonateClient() = 0;
    virtual void RevertToSelf() = 0;
    // GetPackageFamilyName: `length` in and out counts the terminator; buffer may be null.
    virtual long GetPackageFamilyName(void* processHandle, uint32_t& length, wchar_t* buffer) = 0;
};

class IClock {
public:
    virtual ~IClock() = default;
    virtual void Sleep(uint32_t milliseconds) = 0;
};

// The process-wide set of ports.
class Platform {
public:
    virtual ~Platform() = default;
    virtual IUuidGenerator& Uuids() = 0;
    virtual INamedEvents& Events() = 0;
    virtual ICodeSignatures& Signatures() = 0;
    virtual IFileSystem& Files() = 0;
    virtual IUserSession& User() = 0;
    virtual IRpcCall& Rpc() = 0;
    virtual IClock& Clock() = 0;
};

// The installed set. Throws std::logic_error when nothing was installed.
Platform& Current();
// Installs `platform` as the process-wide set (the DLL at attach, native tests and tools at start).
void Install(std::shared_ptr<Platform> platform);

}  // namespace Qv::platform
