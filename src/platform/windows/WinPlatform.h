#pragma once
// The Windows adapters behind the ports, installed by the DLL when it is attached.
#include <memory>

#include "core/logging.h"
#include "platform/platform.h"

namespace Qv::platform::windows {

class WinUuidGenerator : public IUuidGenerator {
public:
    std::wstring NewUuidString() override;
};

class WinNamedEvents : public INamedEvents {
public:
    void Close(EventHandle handle) override;
};

class WinCodeSignatures : public ICodeSignatures {
public:
    std::vector<RawSignature> ReadSignatures(const std::wstring& path, bool useCatalog) override;

private:
    // What a catalog-based trust request names; the admin context is released with it.
    struct CatalogRequest {
        std::shared_ptr<void> admin;
        std::wstring catalogFile;
        std::wstring memberTag;
        std::wstring memberPath;
    };
    int GetSecurityCatalogInfo(const std::wstring& path, CatalogRequest& request);
};

class WinFileSystem : public IFileSystem {
public:
    std::wstring ExpandEnvironment(const std::wstring& text) override;
    std::optional<std::wstring> FullPath(const std::wstring& path, uint32_t& error) override;
    FolderAccess ReadFolderAccess(const std::wstring& folder) override;
    std::wstring ModulePath() override;
    bool FileExists(const std::wstring& path) override;
    OwnedHandle OpenForExecution(const std::wstring& path, uint32_t& error) override;
};

class WinUserSession : public IUserSession {
public:
    std::optional<std::wstring> ExpandForUser(UserToken token, const std::wstring& text, uint32_t& error) override;
    bool SessionApiAvailable() override;
    uint32_t ActiveConsoleSessionId() override;
    uint32_t FindActiveSession() override;
    OwnedHandle QueryUserToken(uint32_t sessionId, uint32_t& error) override;
    OwnedHandle DuplicatePrimaryToken(void* token) override;
    bool RunningAsSystem() override;
    bool ImpersonateLoggedOnUser(void* token) override;
    bool RevertImpersonation() override;
    bool RunAndCapture(void* token, const std::wstring& applicationPath, const std::wstring& commandLine,
                       std::string& output) override;
    bool StartPackagedApplication(void* token, const std::wstring& packageFamilyName,
                                  const std::wstring& executable) override;
};

class WinRpcCall : public IRpcCall {
public:
    WinRpcCall();
    long InquireCallerProcessId(uint32_t& processId) override;
    OwnedHandle OpenProcessForQuery(uint32_t processId) override;
    OwnedHandle DuplicateForQuery(void* processHandle) override;
    long ImpersonateClient() override;
    void RevertToSelf() override;
    long GetPackageFamilyName(void* processHandle, uint32_t& length, wchar_t* buffer) override;

private:
    bool underWine_ = false;
};

class WinClock : public IClock {
public:
    void Sleep(uint32_t milliseconds) override;
};

class WinPlatform : public Platform {
public:
    IUuidGenerator& Uuids() override { return uuids_; }
    INamedEvents& Events() override { return events_; }
    ICodeSignatures& Signatures() override { return signatures_; }
    IFileSystem& Files() override { return files_; }
    IUserSession& User() override { return user_; }
    IRpcCall& Rpc() override { return rpc_; }
    IClock& Clock() override { return clock_; }

private:
    WinUuidGenerator uuids_;
    WinNamedEvents events_;
    WinCodeSignatures signatures_;
    WinFileSystem files_;
    WinUserSession user_;
    WinRpcCall rpc_;
    WinClock clock_;
};

// Log sinks of the Windows build: the ETW provider named after the logging provider, and the
// debugger output.
std::shared_ptr<Bridge::Logging::ILogSink> MakeEtwLogSink();
std::shared_ptr<Bridge::Logging::ILogSink> MakeDebugOutputLogSink();

}  // namespace Qv::platform::windows
