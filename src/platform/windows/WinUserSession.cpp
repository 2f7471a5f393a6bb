// The console user: session, token, impersonation, and processes started as the user.
#include <windows.h>
#include <userenv.h>
#include <wtsapi32.h>

#include <vector>

#include "core/logging.h"
#include "core/strings.h"
#include "platform/windows/WinPlatform.h"
#include "platform/windows/raii.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::LogManager;

OwnedHandle Own(HANDLE handle) {
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return nullptr;
    return OwnedHandle(handle, [](HANDLE h) { CloseHandle(h); });
}

void LogApiError(const char* operation, const wchar_t* api) {
    LogManager::GetLogger()->LogError(L"%S.%S - Windows API %s error, GetLastError = %d",
                                      "Qv::platform::windows::WinUserSession", operation, api,
                                      static_cast<int>(GetLastError()));
}

// appmodel.h functions, resolved at run time: older systems and Wine may lack them.
using FindPackagesByPackageFamilyFn = LONG(WINAPI*)(PCWSTR, UINT32, UINT32*, PWSTR*, UINT32*, WCHAR*, UINT32*);
using GetPackagePathByFullNameFn = LONG(WINAPI*)(PCWSTR, UINT32*, PWSTR);
constexpr UINT32 kPackageFilterHead = 0x10;
constexpr UINT32 kPackageFilterDirect = 0x20;

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

// The session functions (the ext-ms-win-session-wtsapi32 API set) are there when they resolve.
bool WinUserSession::SessionApiAvailable() { return SessionFunctions::Get().Complete(); }

uint32_t WinUserSession::ActiveConsoleSessionId() { return WTSGetActiveConsoleSessionId(); }

uint32_t WinUserSession::FindActiveSession() {
    const SessionFunctions& wts = SessionFunctions::Get();
    if (!wts.Complete()) return kNoSession;
    WTS_SESSION_INFOW* sessions = nullptr;
    DWORD count = 0;
    if (!wts.enumerate(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count)) return kNoSession;
    uint32_t found = kNoSession;
    for (DWORD i = 0; i < count; ++i) {
        if (sessions[i].State == WTSActive) {
            found = sessions[i].SessionId;
            break;
        }
    }
    wts.free(sessions);
    return found;
}

OwnedHandle WinUserSession::QueryUserToken(uint32_t sessionId, uint32_t& error) {
    const SessionFunctions& wts = SessionFunctions::Get();
    HANDLE token = nullptr;
    if (!wts.Complete()) {
        error = ERROR_PROC_NOT_FOUND;
        return nullptr;
    }
    if (!wts.queryToken(sessionId, &token)) {
        error = GetLastError();
        return nullptr;
    }
    return Own(token);
}

OwnedHandle WinUserSession::DuplicatePrimaryToken(void* token) {
    HANDLE primary = nullptr;
    if (!DuplicateTokenEx(static_cast<HANDLE>(token), MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary,
                          &primary)) {
        return nullptr;
    }
    return Own(primary);
}

bool WinUserSession::RunningAsSystem() {
    HANDLE raw = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &raw)) return false;
    unique_handle token(raw);
    DWORD size = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    if (size == 0 || !GetTokenInformation(token.get(), TokenUser, buffer.data(), size, &size)) return false;
    return IsWellKnownSid(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, WinLocalSystemSid) != FALSE;
}

bool WinUserSession::ImpersonateLoggedOnUser(void* token) {
    return ::ImpersonateLoggedOnUser(static_cast<HANDLE>(token)) != FALSE;
}

bool WinUserSession::RevertImpersonation() { return ::RevertToSelf() != FALSE; }

bool WinUserSession::RunAndCapture(void* token, const std::wstring& applicationPath, const std::wstring& commandLine,
                                   std::string& output) {
    // The linked token: the user's full token when the session token is a filtered one.
    TOKEN_LINKED_TOKEN linked{};
    DWORD size = 0;
    if (!GetTokenInformation(static_cast<HANDLE>(token), TokenLinkedToken, &linked, sizeof(linked), &size) ||
        linked.LinkedToken == nullptr || linked.LinkedToken == INVALID_HANDLE_VALUE) {
        LogApiError("RunAndCapture", L"GetTokenInformation");
        return false;
    }
    unique_handle linkedToken(linked.LinkedToken);

    void* environment = nullptr;
    if (!CreateEnvironmentBlock(&environment, linkedToken.get(), FALSE)) {
        LogApiError("RunAndCapture", L"CreateEnvironmentBlock");
        return false;
    }
    scope_exit destroyEnvironment([&] { DestroyEnvironmentBlock(environment); });

    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    unique_handle readEnd;
    unique_handle writeEnd;
    if (!CreatePipe(readEnd.put(), writeEnd.put(), &inheritable, 0)) {
        LogApiError("RunAndCapture", L"CreatePipe");
        return false;
    }
    // Only the write end goes to the child.
    SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);

    // The child inherits the pipe's write end and nothing else: with a plain "inherit handles",
    // a second capture running at the same time could hand its pipe to this child too and wait
    // for an end of output that comes only when this child ends.
    HANDLE inherited = writeEnd.get();
    SIZE_T attributeSize = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &attributeSize);
    std::vector<BYTE> attributeBuffer(attributeSize);
    auto* attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributeBuffer.data());
    if (!InitializeProcThreadAttributeList(attributes, 1, 0, &attributeSize) ||
        !UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &inherited, sizeof(inherited),
                                   nullptr, nullptr)) {
        LogApiError("RunAndCapture", L"UpdateProcThreadAttribute");
        return false;
    }
    scope_exit deleteAttributes([&] { DeleteProcThreadAttributeList(attributes); });

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    startup.StartupInfo.wShowWindow = SW_HIDE;
    startup.StartupInfo.hStdOutput = writeEnd.get();
    startup.StartupInfo.hStdError = writeEnd.get();
    startup.lpAttributeList = attributes;
    PROCESS_INFORMATION process{};
    std::wstring mutableLine = commandLine;
    if (!CreateProcessAsUserW(linkedToken.get(), applicationPath.empty() ? nullptr : applicationPath.c_str(),
                              mutableLine.data(), nullptr, nullptr, TRUE,
                              CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, environment, nullptr,
                              &startup.StartupInfo, &process)) {
        LogApiError("RunAndCapture", L"CreateProcessAsUserW");
        return false;
    }
    unique_handle processHandle(process.hProcess);
    unique_handle threadHandle(process.hThread);

    // Read to the end first, then wait: a child that writes more than the pipe holds would
    // otherwise block on its write while we block on its exit.
    writeEnd.reset();
    char chunk[512];
    DWORD read = 0;
    while (ReadFile(readEnd.get(), chunk, sizeof(chunk), &read, nullptr) && read > 0) output.append(chunk, read);
    WaitForSingleObject(processHandle.get(), INFINITE);
    return true;
}

bool WinUserSession::StartPackagedApplication(void* token, const std::wstring& packageFamilyName,
                                              const std::wstring& executable) {
    auto* logger = LogManager::GetLogger();
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    auto findPackages = proc_address<FindPackagesByPackageFamilyFn>(kernel, "FindPackagesByPackageFamily");
    auto packagePath = proc_address<GetPackagePathByFullNameFn>(kernel, "GetPackagePathByFullName");
    if (findPackages == nullptr || packagePath == nullptr) {
        logger->LogError(L"Problem while finding package's resources.");
        return false;
    }

    UINT32 count = 0;
    UINT32 bufferLength = 0;
    findPackages(packageFamilyName.c_str(), kPackageFilterHead | kPackageFilterDirect, &count, nullptr, &bufferLength,
                 nullptr, nullptr);
    if (count == 0 || bufferLength == 0) {
        logger->LogError(L"Problem while finding out the size of the buffer. Returned length is 0.");
        return false;
    }
    std::vector<PWSTR> names(count);
    std::vector<WCHAR> buffer(bufferLength);
    if (buffer.empty()) {
        logger->LogError(L"Problem while allocating buffer.");
        return false;
    }
    if (findPackages(packageFamilyName.c_str(), kPackageFilterHead | kPackageFilterDirect, &count, names.data(),
                     &bufferLength, buffer.data(), nullptr) != ERROR_SUCCESS) {
        logger->LogError(L"Problem while finding package's resources.");
        return false;
    }
    const std::wstring fullName = names[0];
    logger->LogInfo(L"Found package's full name for %ls: %ls", packageFamilyName.c_str(), fullName.c_str());

    UINT32 pathLength = 0;
    packagePath(fullName.c_str(), &pathLength, nullptr);
    if (pathLength == 0) {
        logger->LogError(L"Problem while finding out the size of the buffer.");
        return false;
    }
    std::wstring folder(pathLength, L'\0');
    if (packagePath(fullName.c_str(), &pathLength, folder.data()) != ERROR_SUCCESS) {
        logger->LogError(L"Problem while finding the full path for the package.");
        return false;
    }
    folder.resize(wcslen(folder.c_str()));

    std::vector<wchar_t> expanded(32768);
    const std::wstring unexpanded = folder + L"\\" + executable;
    if (!ExpandEnvironmentStringsForUserW(static_cast<HANDLE>(token), unexpanded.c_str(), expanded.data(),
                                          static_cast<DWORD>(expanded.size()))) {
        logger->LogError(L"Problem while expanding path.");
        return false;
    }
    void* environment = nullptr;
    if (!CreateEnvironmentBlock(&environment, static_cast<HANDLE>(token), FALSE)) return false;
    scope_exit destroyEnvironment([&] { DestroyEnvironmentBlock(environment); });

    // The application's window is parented to the user's session, not to this service.
    SIZE_T attributeSize = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &attributeSize);
    std::vector<BYTE> attributeBuffer(attributeSize);
    auto* attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributeBuffer.data());
    if (!InitializeProcThreadAttributeList(attributes, 1, 0, &attributeSize)) return false;
    scope_exit deleteAttributes([&] { DeleteProcThreadAttributeList(attributes); });
    DWORD64 mitigation = PROCESS_CREATION_MITIGATION_POLICY_BLOCK_NON_MICROSOFT_BINARIES_ALWAYS_OFF;
    UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_MITIGATION_POLICY, &mitigation, sizeof(mitigation),
                              nullptr, nullptr);

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.lpAttributeList = attributes;
    PROCESS_INFORMATION process{};
    std::wstring commandLine = L"\"" + std::wstring(expanded.data()) + L"\"";
    if (!CreateProcessAsUserW(static_cast<HANDLE>(token), expanded.data(), commandLine.data(), nullptr, nullptr, FALSE,
                              CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, environment, nullptr,
                              &startup.StartupInfo, &process)) {
        logger->LogError(L"Problem while creating process as user %d.", static_cast<int>(GetLastError()));
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

}  // namespace Qv::platform::windows
