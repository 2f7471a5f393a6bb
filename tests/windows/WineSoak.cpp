// The installed DLL under a long run, as a service host gives it: many commands that run the
// tool in the user's session, and many subscription cycles (31 on a thread of its own, ended by
// 32, the session ended). Prints the process's handle count and private bytes after a warm-up and
// at the end; fails when either grew beyond what a few lazily made objects explain.
//   wine_soak.exe [TOOL_COMMANDS] [SUBSCRIPTION_CYCLES]      (defaults 10000 and 1000)
#include <windows.h>
#include <psapi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "abi/HostView.h"
#include "platform/windows/raii/kernel.h"

namespace {

using Qv::Abi::HostService;

struct Figures {
    DWORD handles = 0;
    SIZE_T privateKiB = 0;
};

// The process's handles and committed private memory. Where the system's own counters answer
// (GetProcessHandleCount, PrivateUsage) they are used; Wine answers 0 for both, so then every
// handle value is probed and the address space walked.
Figures Measure() {
    Figures figures;
    if (!GetProcessHandleCount(GetCurrentProcess(), &figures.handles) || figures.handles == 0) {
        figures.handles = 0;
        for (ULONG_PTR value = 4; value < 0x10000; value += 4) {
            DWORD flags = 0;
            if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++figures.handles;
        }
    }
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof(counters);
    if (GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof(counters)))
        figures.privateKiB = counters.PrivateUsage / 1024;
    if (figures.privateKiB == 0) {
        MEMORY_BASIC_INFORMATION region{};
        for (char* address = nullptr; VirtualQuery(address, &region, sizeof(region)) == sizeof(region);
             address = static_cast<char*>(region.BaseAddress) + region.RegionSize) {
            if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) figures.privateKiB += region.RegionSize / 1024;
            if (region.RegionSize == 0) break;
        }
    }
    return figures;
}

int Run(HostService& service, void* session, unsigned number, const wchar_t* text) {
    std::wstring input = text;
    wchar_t* output = nullptr;
    const int status = service.ExecuteCommand(session, number, input.data(), &output);
    service.ReleaseOutput(output);
    return status;
}

// The tool's commands: the mouse speed, the toasts' state, the camera's zoom.
long ToolCommands(HostService& service, long count) {
    static const unsigned numbers[] = {91, 121, 2};
    wchar_t client[] = L"soak";
    void* session = nullptr;
    service.StartSession(client, &session);
    long failures = 0;
    for (long i = 0; i < count; ++i)
        if (Run(service, session, numbers[i % 3], L"{}") != 0) ++failures;
    service.EndSession(&session);
    return failures;
}

// A whole subscription: a session, 31 held on a thread until 32 ends it, the session ended.
bool SubscriptionCycle(HostService& service) {
    wchar_t client[] = L"soak-subscriber";
    void* session = nullptr;
    if (service.StartSession(client, &session) != 0) return false;
    std::atomic<int> status{-1};
    std::thread holder([&] {
        std::wstring input = L"{\"eventId\":1002,\"memoryThreshold\":0}";
        wchar_t* output = nullptr;
        status = service.ExecuteCommand(session, 31, input.data(), &output, [](wchar_t*) {});
        service.ReleaseOutput(output);
    });
    bool ended = false;
    for (int attempt = 0; attempt < 2000 && !ended; ++attempt) {
        std::wstring input = L"{\"eventId\":1002}";
        wchar_t* output = nullptr;
        service.ExecuteCommand(session, 32, input.data(), &output);
        ended = output != nullptr && std::wstring(output) == L"{\"result\":11}";
        service.ReleaseOutput(output);
        if (!ended) Sleep(1);
    }
    holder.join();
    service.EndSession(&session);
    return ended && status == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const long toolCommands = argc > 1 ? std::atol(argv[1]) : 10000;
    const long cycles = argc > 2 ? std::atol(argv[2]) : 1000;
    // The installed module, beside its signed tool.
    wchar_t path[MAX_PATH] = {};
    ExpandEnvironmentStringsW(L"%ProgramFiles%\\DeviceControl\\DeviceControlService.dll", path, MAX_PATH);
    HMODULE module = LoadLibraryW(path);
    auto create = Qv::platform::windows::proc_address<QVServiceObject* (*)()>(module, "QVCreateService");
    if (create == nullptr) {
        std::printf("soak: %ls cannot be loaded\n", path);
        return 2;
    }
    long failures = 0;
    Figures start;
    {
        HostService service(create());
        // Warm-up: what is made once on first use (COM, the runtime, the helpers) is not growth.
        failures += ToolCommands(service, 100);
        for (int i = 0; i < 20; ++i) failures += SubscriptionCycle(service) ? 0 : 1;
        start = Measure();
        const DWORD began = GetTickCount();
        failures += ToolCommands(service, toolCommands);
        for (long i = 0; i < cycles; ++i) failures += SubscriptionCycle(service) ? 0 : 1;
        const Figures end = Measure();
        std::printf("soak: %ld tool commands and %ld subscription cycles in %.1f s, %ld failed\n", toolCommands, cycles,
                    (GetTickCount() - began) / 1000.0, failures);
        std::printf("soak: handles %lu at the start, %lu at the end\n", start.handles, end.handles);
        std::printf("soak: private bytes %lu KiB at the start, %lu KiB at the end\n",
                    static_cast<unsigned long>(start.privateKiB), static_cast<unsigned long>(end.privateKiB));
        std::fflush(stdout);
        const bool flat = end.handles <= start.handles + 16 && end.privateKiB <= start.privateKiB + 4096;
        if (!flat) {
            std::printf("soak: not flat\n");
            return 1;
        }
    }
    FreeLibrary(module);
    return failures == 0 ? 0 : 1;
}
