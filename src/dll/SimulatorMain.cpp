// Composition root of DeviceControlSimulator.dll: the module's exports and slot table over the
// simulated laptop that a device profile describes, for hosts and companion apps on a PC without
// the maker's hardware. The profile is the file QV_DEVICECONTROL_PROFILE names, else
// DeviceControlSimulator.json beside this DLL, else the full-featured laptop. A profile that is
// refused keeps the module from loading, and the reason goes to the standard error stream, the
// debugger and the trace file.
#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>

#include "core/logging.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "platform/sim/SimDevice.h"
#include "profile/DeviceProfile.h"

namespace {

constexpr const wchar_t* kLogFileVariable = L"QV_DEVICECONTROL_LOG";
constexpr const wchar_t* kProfileVariable = L"QV_DEVICECONTROL_PROFILE";
constexpr const wchar_t* kProfileBeside = L"DeviceControlSimulator.json";

std::wstring Variable(const wchar_t* name) {
    wchar_t value[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
    return length > 0 && length < MAX_PATH ? std::wstring(value, length) : std::wstring();
}

// The profile beside the module, when there is one.
std::wstring ProfileBeside(HINSTANCE instance) {
    wchar_t self[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(instance, self, MAX_PATH);
    std::wstring path(self, length);
    const size_t slash = path.find_last_of(L"\\/");
    path = (slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1)) + kProfileBeside;
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES ? path : std::wstring();
}

bool Attach(HINSTANCE instance) {
    using Qv::Bridge::Logging::LogManager;
    if (const std::wstring log = Variable(kLogFileVariable); !log.empty()) {
        auto sink = std::make_shared<Qv::Bridge::Logging::FileLogSink>(Qv::Core::Narrow(log));
        if (sink->IsOpen()) LogManager::AddSink(sink);
    }
    auto device = std::make_shared<Qv::Sim::SimDevice>();
    Qv::Profile::PrepareLaptop(*device);
    std::wstring profile = Variable(kProfileVariable);
    if (profile.empty()) profile = ProfileBeside(instance);
    if (!profile.empty()) {
        const std::string refused = Qv::Profile::ApplyProfileFile(Qv::Core::Narrow(profile), *device);
        if (!refused.empty()) {
            const std::wstring message = L"DeviceControlSimulator - the profile " + profile +
                                         L" is refused: " + Qv::Core::Widen(refused);
            std::fprintf(stderr, "%s\n", Qv::Core::Narrow(message).c_str());
            OutputDebugStringW(message.c_str());
            LogManager::GetLogger()->LogError(L"%s", message.c_str());
            return false;
        }
    }
    Qv::platform::Install(device);
    LogManager::GetLogger()->LogInfo(L"DeviceControlSimulator - the simulated laptop of %s",
                                     profile.empty() ? L"the built-in full-featured profile" : profile.c_str());
    return true;
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) return Attach(instance) ? TRUE : FALSE;
    return TRUE;
}
