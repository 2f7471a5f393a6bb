/* A Windows service that only runs: it stands for the audio vendor's service, whose running
 * state sends the module's noise control down the vendor's script path. */
#include <windows.h>

static SERVICE_STATUS_HANDLE status_handle;
static HANDLE stop_event;

static void report(DWORD state) {
    SERVICE_STATUS status = {0};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    SetServiceStatus(status_handle, &status);
}

static DWORD WINAPI control(DWORD code, DWORD type, LPVOID data, LPVOID context) {
    (void)type, (void)data, (void)context;
    if (code == SERVICE_CONTROL_STOP) {
        report(SERVICE_STOP_PENDING);
        SetEvent(stop_event);
    }
    return NO_ERROR;
}

static void WINAPI service_main(DWORD argc, LPWSTR* argv) {
    (void)argc, (void)argv;
    status_handle = RegisterServiceCtrlHandlerExW(L"RtkAudioUniversalService", control, NULL);
    if (status_handle == NULL) return;
    stop_event = CreateEventW(NULL, TRUE, FALSE, NULL);
    report(SERVICE_RUNNING);
    WaitForSingleObject(stop_event, INFINITE);
    report(SERVICE_STOPPED);
}

int wmain(void) {
    SERVICE_TABLE_ENTRYW table[] = {{L"RtkAudioUniversalService", service_main}, {NULL, NULL}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
