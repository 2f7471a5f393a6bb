// The floor of a tool command under Wine: N bare launches of DeviceControlTool.exe with the
// same arguments, its line read through a pipe, as the module's run-and-capture reads it, but
// with nothing else: no signature check, no user token, no environment block.
//   bare_launch.exe N TOOL AREA FUNCTION ARGUMENT
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

int wmain(int argc, wchar_t** argv) {
    if (argc != 6) {
        std::fwprintf(stderr, L"usage: bare_launch N TOOL AREA FUNCTION ARGUMENT\n");
        return 2;
    }
    const int count = _wtoi(argv[1]);
    const std::wstring tool = argv[2];
    const std::wstring line = L"\"" + tool + L"\" " + argv[3] + L" " + argv[4] + L" \"" + argv[5] + L"\"";
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
        HANDLE readEnd = nullptr;
        HANDLE writeEnd = nullptr;
        if (!CreatePipe(&readEnd, &writeEnd, &inheritable, 0)) return 1;
        SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
        startup.wShowWindow = SW_HIDE;
        startup.hStdOutput = writeEnd;
        startup.hStdError = writeEnd;
        PROCESS_INFORMATION process{};
        std::wstring mutableLine = line;
        const BOOL started = CreateProcessW(tool.c_str(), mutableLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                            nullptr, &startup, &process);
        CloseHandle(writeEnd);
        std::string output;
        char chunk[512];
        DWORD read = 0;
        while (started && ReadFile(readEnd, chunk, sizeof(chunk), &read, nullptr) && read > 0) output.append(chunk, read);
        CloseHandle(readEnd);
        if (!started) {
            ++failures;
            continue;
        }
        WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        if (output.rfind("-1", 0) == 0) ++failures;
    }
    std::printf("%d launches, %d failed\n", count, failures);
    return failures == 0 ? 0 : 1;
}
