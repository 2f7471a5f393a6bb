#include "platform/windows/WinUserSession.h"

#include <windows.h>
#include <userenv.h>
#include <wtsapi32.h>

#include <vector>

#include "platform/windows/raii/kernel.h"
#include "platform/windows/raii/user.h"

namespace Qv::platform::windows {
namespace {

Failure LastError() { return Failure{static_cast<int32_t>(GetLastError())}; }

// The terminal-services session functions, resolved at run time: systems without them (some
// server and IoT editions) still load the module and answer "no user".
struct SessionFunctions {
    using EnumerateFn = BOOL(WINAPI*)(HANDLE, DWORD, DWORD, WTS_SESSION_INFOW**, DWORD*);
    using FreeFn = void(WINAPI*)(PVOID);
    using QueryTokenFn = BOOL(WINAPI*)(ULONG, PHANDLE);
    EnumerateFn enumerate = nullptr;
    FreeFn free = nullptr;
    QueryTokenFn queryToken = nullptr;

    static const SessionFunctions& Get() {
        static const SessionFunctions functions = [] {
            SessionFunctions f;
            // Loaded for the life of the process: the functions are kept.
            HMODULE module = LoadLibraryExW(L"wtsapi32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
            if (module != nullptr) {
                f.enumerate = proc_address<EnumerateFn>(module, "WTSEnumerateSessionsW");
                f.free = proc_address<FreeFn>(module, "WTSFreeMemory");
                f.queryToken = proc_address<QueryTokenFn>(module, "WTSQueryUserToken");
            }
            return f;
        }();
        return functions;
    }
    bool Complete() const { return enumerate != nullptr && free != nullptr && queryToken != nullptr; }
};

}  // namespace

void detail::wts_free(void* memory) {
    if (auto free = SessionFunctions::Get().free) free(memory);
}

// The session functions (the ext-ms-win-session-wtsapi32 API set) are there when they resolve.
bool WinUserSession::SessionApiAvailable() { return SessionFunctions::Get().Complete(); }

uint32_t WinUserSession::ActiveConsoleSessionId() { return WTSGetActiveConsoleSessionId(); }

uint32_t WinUserSession::FindActiveSession() {
    const SessionFunctions& wts = SessionFunctions::Get();
    if (!wts.Complete()) return kNoSession;
    unique_wts_memory memory;
    DWORD count = 0;
    if (!wts.enumerate(WTS_CURRENT_SERVER_HANDLE, 0, 1, reinterpret_cast<WTS_SESSION_INFOW**>(memory.put()), &count))
        return kNoSession;
    const auto* sessions = static_cast<const WTS_SESSION_INFOW*>(memory.get());
    for (DWORD i = 0; i < count; ++i) {
        if (sessions[i].State == WTSActive) return sessions[i].SessionId;
    }
    return kNoSession;
}

Result<OwnedHandle> WinUserSession::QueryUserToken(uint32_t sessionId) {
    const SessionFunctions& wts = SessionFunctions::Get();
    if (!wts.Complete()) return Failure{ERROR_PROC_NOT_FOUND};
    unique_handle token;
    if (!wts.queryToken(sessionId, token.put())) return LastError();
    return share_handle(std::move(token));
}

Result<OwnedHandle> WinUserSession::DuplicatePrimaryToken(UserToken token) {
    unique_handle primary;
    if (!DuplicateTokenEx(static_cast<HANDLE>(token), MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary,
                          primary.put())) {
        return LastError();
    }
    return share_handle(std::move(primary));
}

namespace {

bool TokenIsSystem(HANDLE token) {
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    if (size == 0 || !GetTokenInformation(token, TokenUser, buffer.data(), size, &size)) return false;
    return IsWellKnownSid(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, WinLocalSystemSid) != FALSE;
}

}  // namespace

bool WinUserSession::RunningAsSystem() {
    unique_handle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put())) return false;
    return TokenIsSystem(token.get());
}

bool WinUserSession::ThreadRunsAsSystem() {
    // The thread's own token while it impersonates (read as the process, which may always read
    // it); otherwise the process's.
    unique_handle token;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.put())) return TokenIsSystem(token.get());
    if (GetLastError() != ERROR_NO_TOKEN) return false;
    return RunningAsSystem();
}

Result<void> WinUserSession::Impersonate(UserToken token) {
    if (!::ImpersonateLoggedOnUser(static_cast<HANDLE>(token))) return LastError();
    return Success();
}

Result<void> WinUserSession::RevertImpersonation() {
    if (!::RevertToSelf()) return LastError();
    return Success();
}

Result<std::wstring> WinUserSession::ExpandForUser(UserToken token, const std::wstring& text) {
    std::vector<wchar_t> buffer(32768);
    if (!ExpandEnvironmentStringsForUserW(static_cast<HANDLE>(token), text.c_str(), buffer.data(),
                                          static_cast<DWORD>(buffer.size()))) {
        return LastError();
    }
    return std::wstring(buffer.data());
}

Result<OwnedHandle> WinUserSession::LinkedToken(UserToken token) {
    TOKEN_LINKED_TOKEN linked{};
    DWORD size = 0;
    if (!GetTokenInformation(static_cast<HANDLE>(token), TokenLinkedToken, &linked, sizeof(linked), &size))
        return LastError();
    unique_handle owned(linked.LinkedToken);
    if (!owned) return Failure{ERROR_INVALID_HANDLE};
    return share_handle(std::move(owned));
}

Result<int32_t> WinUserSession::ElevationType(UserToken token) {
    TOKEN_ELEVATION_TYPE type{};
    DWORD size = 0;
    if (!GetTokenInformation(static_cast<HANDLE>(token), TokenElevationType, &type, sizeof(type), &size))
        return LastError();
    return static_cast<int32_t>(type);
}

}  // namespace Qv::platform::windows
