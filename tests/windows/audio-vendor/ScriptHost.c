/* A stand-in for powershell.exe that answers the audio vendor's scripts as the vendor's CIM
 * class would on a machine with the feature, or, when a file "hang" lies beside it, prints
 * nothing and never ends (a script host that hung). It records each command line it gets in
 * "calls.txt" beside it. */
#include <windows.h>
#include <stdio.h>
#include <wchar.h>

static void beside(wchar_t* path, const wchar_t* name) {
    GetModuleFileNameW(NULL, path, MAX_PATH);
    wchar_t* slash = wcsrchr(path, L'\\');
    if (slash != NULL) slash[1] = L'\0';
    wcscat(path, name);
}

int wmain(void) {
    wchar_t path[MAX_PATH + 16];
    const wchar_t* line = GetCommandLineW();
    beside(path, L"calls.txt");
    FILE* calls = _wfopen(path, L"a");
    if (calls != NULL) {
        fwprintf(calls, L"%ls\n", line);
        fclose(calls);
    }
    beside(path, L"hang");
    if (GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) {
        Sleep(INFINITE);
        return 0;
    }
    if (wcsstr(line, L"$SRV_CMD_Set_RtkAINRForQv") != NULL) {
        printf("Result: ServiceCommandStaticMethod\r\nAINR Feature Toggle Success. Set to:%s\r\n",
               wcsstr(line, L"InValue =1") != NULL ? "Enabled" : "Disabled");
    } else if (wcsstr(line, L"$SRV_CMD_Get_Support_Speaker_Swap") != NULL) {
        printf("Supported\r\n");
    } else if (wcsstr(line, L"$SRV_CMD_Set_Speaker_Swap_Status") != NULL) {
        printf("Speaker Swap %s\r\n", wcsstr(line, L"InValue=1") != NULL ? "Enabled" : "Disabled");
    } else {
        printf("The term is not recognized as the name of a cmdlet.\r\n");
        return 1;
    }
    return 0;
}
