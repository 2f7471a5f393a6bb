// Composition root of DeviceControlService.dll: the crash filter, the Windows ports and the log
// sinks are put in place when the library is attached to a process.
#include <windows.h>

#include <memory>
#include <string>

#include "core/logging.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "platform/windows/WinLogSinks.h"
#include "platform/windows/WinPlatform.h"
#include "security/TrustMaterial.h"

namespace {

// Set by devicectl --log (or by hand) to mirror the trace into a file.
constexpr const wchar_t* kLogFileVariable = L"QV_DEVICECONTROL_LOG";

// The filter that was in place before ours, put back when the module is unloaded.
LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;

LONG WINAPI ReportUnhandledException(EXCEPTION_POINTERS* /*info*/) {
    OutputDebugStringW(L"Unhandled Excpetion Has Occurred in DeviceControl Service!");
    return EXCEPTION_EXECUTE_HANDLER;
}

void AddLogSinks() {
    using Qv::Bridge::Logging::LogManager;
    LogManager::AddSink(Qv::platform::windows::MakeEtwLogSink());
    LogManager::AddSink(Qv::platform::windows::MakeDebugOutputLogSink());
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(kLogFileVariable, path, MAX_PATH);
    if (length > 0 && length < MAX_PATH) {
        auto sink = std::make_shared<Qv::Bridge::Logging::FileLogSink>(Qv::Core::Narrow(path));
        if (sink->IsOpen()) LogManager::AddSink(sink);
    }
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        previousFilter = SetUnhandledExceptionFilter(ReportUnhandledException);
        Qv::platform::Install(std::make_shared<Qv::platform::windows::WinPlatform>());
        AddLogSinks();
        if (Qv::Bridge::Security::TrustMaterial::kIncludesTestKey) {
            Qv::Bridge::Logging::LogManager::GetLogger()->LogWarning(
                L"DeviceControlService - test build: the trusted-key tables include the build-time test signing key");
        }
    } else if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        // Unloaded by FreeLibrary: no filter may point into code that is going away.
        SetUnhandledExceptionFilter(previousFilter);
    }
    return TRUE;
}
