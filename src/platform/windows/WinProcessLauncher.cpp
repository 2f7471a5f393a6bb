#include "platform/windows/WinProcessLauncher.h"

#include <windows.h>

#include <cstdlib>
#include <userenv.h>

#include <vector>

#include "core/logging.h"
#include "platform/windows/raii/kernel.h"
#include "platform/windows/raii/user.h"

namespace Qv::platform::windows {
namespace {

using Bridge::Logging::LogManager;

Failure LogApiError(const char* operation, const wchar_t* api) {
    const DWORD error = GetLastError();
    Bridge::Logging::LogApiError(LogManager::GetLogger(), "Qv::platform::windows::WinProcessLauncher", operation, api,
                                 static_cast<long>(error));
    return Failure{static_cast<int32_t>(error)};
}

// appmodel.h functions, resolved at run time: older systems and Wine may lack them.
using FindPackagesByPackageFamilyFn = LONG(WINAPI*)(PCWSTR, UINT32, UINT32*, PWSTR*, UINT32*, WCHAR*, UINT32*);
using GetPackagePathByFullNameFn = LONG(WINAPI*)(PCWSTR, UINT32*, PWSTR);
constexpr UINT32 kPackageFilterHead = 0x10;
constexpr UINT32 kPackageFilterDirect = 0x20;

// A process-thread attribute list with room for `count` attributes, in its own buffer.
class AttributeList {
public:
    explicit AttributeList(DWORD count) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, count, 0, &size);
        buffer_.resize(size);
        auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(buffer_.data());
        if (InitializeProcThreadAttributeList(list, count, 0, &size)) list_.reset(list);
    }
    LPPROC_THREAD_ATTRIBUTE_LIST get() const { return list_.get(); }
    explicit operator bool() const { return static_cast<bool>(list_); }

private:
    std::vector<BYTE> buffer_;
    unique_attribute_list list_;  // declared after the buffer: ended before it
};

}  // namespace

Result<std::string> WinProcessLauncher::RunAndCapture(UserToken token, const std::wstring& applicationPath,
                                                      const std::wstring& commandLine) {
    // The linked token: the user's full token when the session token is a filtered one.
    TOKEN_LINKED_TOKEN linked{};
    DWORD size = 0;
    if (!GetTokenInformation(static_cast<HANDLE>(token), TokenLinkedToken, &linked, sizeof(linked), &size))
        return LogApiError("RunAndCapture", L"GetTokenInformation");
    unique_handle linkedToken(linked.LinkedToken);
    if (!linkedToken) return LogApiError("RunAndCapture", L"GetTokenInformation");

    unique_environment environment;
    if (!CreateEnvironmentBlock(environment.put(), linkedToken.get(), FALSE))
        return LogApiError("RunAndCapture", L"CreateEnvironmentBlock");

    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    unique_handle readEnd;
    unique_handle writeEnd;
    if (!CreatePipe(readEnd.put(), writeEnd.put(), &inheritable, 0)) return LogApiError("RunAndCapture", L"CreatePipe");
    SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);

    // The child inherits the pipe's write end and nothing else: with a plain "inherit handles",
    // a second capture running at the same time could hand its pipe to this child too and wait
    // for an end of output that comes only when this child ends.
    HANDLE inherited = writeEnd.get();
    AttributeList attributes(1);
    if (!attributes || !UpdateProcThreadAttribute(attributes.get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &inherited,
                                                  sizeof(inherited), nullptr, nullptr)) {
        return LogApiError("RunAndCapture", L"UpdateProcThreadAttribute");
    }

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    startup.StartupInfo.wShowWindow = SW_HIDE;
    startup.StartupInfo.hStdOutput = writeEnd.get();
    startup.StartupInfo.hStdError = writeEnd.get();
    startup.lpAttributeList = attributes.get();
    unique_process_information process;
    std::wstring mutableLine = commandLine;
    if (!CreateProcessAsUserW(linkedToken.get(), applicationPath.empty() ? nullptr : applicationPath.c_str(),
                              mutableLine.data(), nullptr, nullptr, TRUE,
                              CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, environment.get(), nullptr,
                              &startup.StartupInfo, process.put())) {
        return LogApiError("RunAndCapture", L"CreateProcessAsUserW");
    }

    // Read to the end first, then wait: a child that writes more than the pipe holds would
    // otherwise block on its write while we block on its exit.
    writeEnd.reset();
    std::string output;
    char chunk[512];
    DWORD read = 0;
    while (ReadFile(readEnd.get(), chunk, sizeof(chunk), &read, nullptr) && read > 0) output.append(chunk, read);
    WaitForSingleObject(process.get().hProcess, INFINITE);
    return output;
}

Result<std::wstring> WinProcessLauncher::PackageFolder(const std::wstring& packageFamilyName) {
    auto* logger = LogManager::GetLogger();
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    auto findPackages = proc_address<FindPackagesByPackageFamilyFn>(kernel, "FindPackagesByPackageFamily");
    auto packagePath = proc_address<GetPackagePathByFullNameFn>(kernel, "GetPackagePathByFullName");
    if (findPackages == nullptr || packagePath == nullptr) {
        logger->LogError(L"Problem while finding package's resources.");
        return Failure{ERROR_PROC_NOT_FOUND};
    }

    UINT32 count = 0;
    UINT32 bufferLength = 0;
    findPackages(packageFamilyName.c_str(), kPackageFilterHead | kPackageFilterDirect, &count, nullptr, &bufferLength,
                 nullptr, nullptr);
    if (count == 0 || bufferLength == 0) {
        logger->LogError(L"Problem while finding out the size of the buffer. Returned length is 0.");
        return Failure{ERROR_NOT_FOUND};
    }
    std::vector<PWSTR> names(count);
    std::vector<WCHAR> buffer(bufferLength);
    if (buffer.empty()) {
        logger->LogError(L"Problem while allocating buffer.");
        return Failure{ERROR_OUTOFMEMORY};
    }
    LONG result = findPackages(packageFamilyName.c_str(), kPackageFilterHead | kPackageFilterDirect, &count,
                               names.data(), &bufferLength, buffer.data(), nullptr);
    if (result != ERROR_SUCCESS) {
        logger->LogError(L"Problem while finding package's resources.");
        return Failure{result};
    }
    const std::wstring fullName = names[0];
    logger->LogInfo(L"Found package's full name for %ls: %ls", packageFamilyName.c_str(), fullName.c_str());

    UINT32 pathLength = 0;
    packagePath(fullName.c_str(), &pathLength, nullptr);
    if (pathLength == 0) {
        logger->LogError(L"Problem while finding out the size of the buffer.");
        return Failure{ERROR_NOT_FOUND};
    }
    std::wstring folder(pathLength, L'\0');
    result = packagePath(fullName.c_str(), &pathLength, folder.data());
    if (result != ERROR_SUCCESS) {
        logger->LogError(L"Problem while finding the full path for the package.");
        return Failure{result};
    }
    folder.resize(wcslen(folder.c_str()));
    return folder;
}

Result<void> WinProcessLauncher::StartAsUser(UserToken token, const std::wstring& image) {
    unique_environment environment;
    if (!CreateEnvironmentBlock(environment.put(), static_cast<HANDLE>(token), FALSE))
        return Failure{static_cast<int32_t>(GetLastError())};

    // The application is started as an ordinary program of the user, whatever mitigation
    // policy the service itself runs under.
    AttributeList attributes(1);
    if (!attributes) return Failure{static_cast<int32_t>(GetLastError())};
    DWORD64 mitigation = PROCESS_CREATION_MITIGATION_POLICY_BLOCK_NON_MICROSOFT_BINARIES_ALWAYS_OFF;
    UpdateProcThreadAttribute(attributes.get(), 0, PROC_THREAD_ATTRIBUTE_MITIGATION_POLICY, &mitigation,
                              sizeof(mitigation), nullptr, nullptr);

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.lpAttributeList = attributes.get();
    unique_process_information process;
    std::wstring commandLine = L"\"" + image + L"\"";
    if (!CreateProcessAsUserW(static_cast<HANDLE>(token), image.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                              CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, environment.get(), nullptr,
                              &startup.StartupInfo, process.put())) {
        const DWORD error = GetLastError();
        LogManager::GetLogger()->LogError(L"Problem while creating process as user %d.", static_cast<int>(error));
        return Failure{static_cast<int32_t>(error)};
    }
    return Success();
}

int WinProcessLauncher::RunCommandProcessor(const std::string& command) {
    // The C runtime's command processor, in the service's own context: cmd.exe /c, waited for.
    return std::system(command.c_str());
}

IProcessLauncher::BoundedRun WinProcessLauncher::RunBounded(const std::wstring& commandLine, uint32_t waitMilliseconds,
                                                           size_t maxBytes) {
    using Outcome = BoundedRun::Outcome;
    const auto failed = [](Outcome outcome) { return BoundedRun{outcome, {}, static_cast<int32_t>(GetLastError())}; };
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    unique_handle readEnd;
    unique_handle writeEnd;
    if (!CreatePipe(readEnd.put(), writeEnd.put(), &inheritable, 0)) return failed(Outcome::PipeFailed);
    SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);

    // Only the pipe's write end is inherited (see RunAndCapture).
    HANDLE inherited = writeEnd.get();
    AttributeList attributes(1);
    if (!attributes || !UpdateProcThreadAttribute(attributes.get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &inherited,
                                                  sizeof(inherited), nullptr, nullptr)) {
        return failed(Outcome::StartFailed);
    }
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    startup.StartupInfo.wShowWindow = SW_HIDE;
    startup.StartupInfo.hStdOutput = writeEnd.get();
    startup.StartupInfo.hStdError = nullptr;  // only standard output is read
    startup.lpAttributeList = attributes.get();
    unique_process_information process;
    std::wstring mutableLine = commandLine;
    if (!CreateProcessW(nullptr, mutableLine.data(), nullptr, nullptr, TRUE,
                        CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo,
                        process.put())) {
        return failed(Outcome::StartFailed);
    }
    // Our copy of the write end goes first: once the child ends, a read then sees the end of
    // the output instead of waiting for a writer that is us.
    writeEnd.reset();
    const DWORD waited = WaitForSingleObject(process.get().hProcess, waitMilliseconds);
    if (waited != WAIT_OBJECT_0) {
        DWORD available = 0;
        if (!PeekNamedPipe(readEnd.get(), nullptr, 0, nullptr, &available, nullptr) || available == 0) {
            TerminateProcess(process.get().hProcess, ERROR_TIMEOUT);
            return {Outcome::Stalled, {}, ERROR_TIMEOUT};
        }
    }
    std::string output(maxBytes, '\0');
    DWORD read = 0;
    if (!ReadFile(readEnd.get(), output.data(), static_cast<DWORD>(maxBytes), &read, nullptr)) read = 0;
    output.resize(read);
    return {Outcome::Read, std::move(output), 0};
}

}  // namespace Qv::platform::windows
