/*
 * QVDC.dll for the Windows tests: the display vendor's display-control library as the module
 * sees it (its exports by name, 32-bit int arguments and results), backed by two text files
 * beside this DLL instead of a display:
 *
 *   qvdc-double-state.txt   the display's state, "key=value" lines. Read at every call and
 *                           written after every setter, so it outlives the process that loaded
 *                           the library and a test can seed it before a run (platform=0,
 *                           features=1, ...). Absent: the defaults below.
 *   qvdc-double-calls.txt   one line appended per call, "SetShedulerMode(2)", "Start()",
 *                           "GetSupportedInputSources(10)" (the capacity), "GetScheduleTime()";
 *                           and "attach" when a process loads the library, so that a load shows
 *                           even when nothing is called.
 *
 * Keys of the state file: platform, sources (a comma list, may be empty), source, schedule,
 * mode, start_hour, start_minute, end_hour, end_minute, features (decimal, or hex after 0x), red,
 * green, blue, contrast. A key may be left out (it keeps its default). A line that is not one of
 * these keys with a whole number is a broken seed: every export then answers -1 and the calls
 * file says which line, so a typo in a test cannot pass for the display's answer.
 *
 * Setters take a value only in its range and otherwise leave the state as it was (answering 0),
 * as a display refuses a value it cannot show: an input source must be one of the supported
 * ones, gains and contrast 0..100, the schedule switch 0 or 1, its mode 0..2, hours 0..23,
 * minutes 0..59 (all four times or none).
 */
#include <windows.h>

#include <ctype.h>
#include <errno.h>
#include <limits.h>
#include <stddef.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#define EXPORT __declspec(dllexport)

#define MAX_SOURCES 16
#define STATE_FILE L"qvdc-double-state.txt"
#define CALLS_FILE L"qvdc-double-calls.txt"

typedef struct State {
    int platform;
    int sources[MAX_SOURCES];
    int sourceCount;
    int source;
    int schedule;
    int mode;
    int startHour, startMinute, endHour, endMinute;
    int features;
    int red, green, blue;
    int contrast;
} State;

/* Calls from several threads of one process take turns; the tests run one process at a time. */
static SRWLOCK lock = SRWLOCK_INIT;

static void Defaults(State* state) {
    static const int sources[] = {15, 17, 27};
    memset(state, 0, sizeof *state);
    state->platform = 1;
    memcpy(state->sources, sources, sizeof sources);
    state->sourceCount = 3;
    state->source = 15;
    state->schedule = 0;
    state->mode = 1;
    state->startHour = 21;
    state->startMinute = 0;
    state->endHour = 7;
    state->endMinute = 0;
    state->features = 0x10 | 0x01;
    state->red = state->green = state->blue = 100;
    state->contrast = 50;
}

/* "<folder of this DLL>\name", or FALSE when the path does not fit. */
static BOOL BesideLibrary(const wchar_t* name, wchar_t* path, DWORD capacity) {
    HMODULE self = NULL;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            (LPCWSTR)(void*)&BesideLibrary, &self)) {
        return FALSE;
    }
    const DWORD length = GetModuleFileNameW(self, path, capacity);
    if (length == 0 || length >= capacity) return FALSE;
    wchar_t* slash = wcsrchr(path, L'\\');
    if (slash == NULL) return FALSE;
    slash[1] = L'\0';
    if (wcslen(path) + wcslen(name) + 1 > capacity) return FALSE;
    wcscat(path, name);
    return TRUE;
}

static void AppendLine(const char* format, ...) {
    wchar_t path[MAX_PATH * 2];
    if (!BesideLibrary(CALLS_FILE, path, sizeof path / sizeof path[0])) return;
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    int length = vsnprintf(line, sizeof line - 2, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    if (length > (int)sizeof line - 3) length = (int)sizeof line - 3;
    line[length++] = '\r';
    line[length++] = '\n';
    /* Appending writes land at the end even when another process appends too. */
    HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, NULL);
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(file, line, (DWORD)length, &written, NULL);
    CloseHandle(file);
}

/* A whole number in int range, nothing else on the line. */
static BOOL ParseInt(const char* text, int base, int* value) {
    if (*text == '\0' || *text == ' ' || *text == '\t' || *text == '+') return FALSE;
    char* end = NULL;
    errno = 0;
    const long long parsed = strtoll(text, &end, base);
    if (errno != 0 || end == text || *end != '\0' || parsed < INT_MIN || parsed > INT_MAX) return FALSE;
    *value = (int)parsed;
    return TRUE;
}

static BOOL ParseSources(const char* text, State* state) {
    state->sourceCount = 0;
    if (*text == '\0') return TRUE;
    char item[32];
    for (;;) {
        const char* comma = strchr(text, ',');
        const size_t length = comma != NULL ? (size_t)(comma - text) : strlen(text);
        if (length == 0 || length >= sizeof item || state->sourceCount == MAX_SOURCES) return FALSE;
        memcpy(item, text, length);
        item[length] = '\0';
        if (!ParseInt(item, 10, &state->sources[state->sourceCount])) return FALSE;
        ++state->sourceCount;
        if (comma == NULL) return TRUE;
        text = comma + 1;
    }
}

static BOOL ParseLine(char* line, State* state) {
    char* equals = strchr(line, '=');
    if (equals == NULL) return FALSE;
    *equals = '\0';
    const char* key = line;
    const char* value = equals + 1;
    if (strcmp(key, "sources") == 0) return ParseSources(value, state);
    if (strcmp(key, "features") == 0) {
        if (value[0] == '0' && (value[1] == 'x' || value[1] == 'X')) {
            return isxdigit((unsigned char)value[2]) && ParseInt(value + 2, 16, &state->features);
        }
        return ParseInt(value, 10, &state->features);
    }
    static const struct {
        const char* key;
        size_t offset;
    } fields[] = {
        {"platform", offsetof(State, platform)},       {"source", offsetof(State, source)},
        {"schedule", offsetof(State, schedule)},       {"mode", offsetof(State, mode)},
        {"start_hour", offsetof(State, startHour)},    {"start_minute", offsetof(State, startMinute)},
        {"end_hour", offsetof(State, endHour)},        {"end_minute", offsetof(State, endMinute)},
        {"red", offsetof(State, red)},                 {"green", offsetof(State, green)},
        {"blue", offsetof(State, blue)},               {"contrast", offsetof(State, contrast)},
    };
    for (size_t i = 0; i < sizeof fields / sizeof fields[0]; ++i) {
        if (strcmp(key, fields[i].key) == 0) return ParseInt(value, 10, (int*)((char*)state + fields[i].offset));
    }
    return FALSE;
}

/* The state from the file, or the defaults when there is none. FALSE (and a line in the calls
 * file) when the file cannot be read or holds a line that is not a known key and a number. */
static BOOL LoadState(State* state) {
    Defaults(state);
    wchar_t path[MAX_PATH * 2];
    if (!BesideLibrary(STATE_FILE, path, sizeof path / sizeof path[0])) {
        AppendLine("error: the state file's path is too long");
        return FALSE;
    }
    HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, NULL,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL);
    if (file == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND) return TRUE;
        AppendLine("error: cannot open the state file (%lu)", GetLastError());
        return FALSE;
    }
    char text[4096];
    DWORD size = 0;
    const BOOL read = ReadFile(file, text, sizeof text - 1, &size, NULL);
    CloseHandle(file);
    if (!read || size == sizeof text - 1) {
        AppendLine("error: cannot read the state file");
        return FALSE;
    }
    text[size] = '\0';
    int number = 0;
    for (char* line = text; line != NULL && *line != '\0';) {
        char* next = strchr(line, '\n');
        if (next != NULL) *next++ = '\0';
        ++number;
        const size_t length = strlen(line);
        if (length > 0 && line[length - 1] == '\r') line[length - 1] = '\0';
        if (*line != '\0') {
            char copy[256];
            snprintf(copy, sizeof copy, "%s", line);
            if (!ParseLine(line, state)) {
                AppendLine("error: state file line %d: %s", number, copy);
                return FALSE;
            }
        }
        line = next;
    }
    return TRUE;
}

static BOOL SaveState(const State* state) {
    char text[1024];
    int length = snprintf(text, sizeof text, "platform=%d\r\nsources=", state->platform);
    for (int i = 0; i < state->sourceCount; ++i) {
        length += snprintf(text + length, sizeof text - (size_t)length, "%s%d", i > 0 ? "," : "", state->sources[i]);
    }
    length += snprintf(text + length, sizeof text - (size_t)length,
                       "\r\nsource=%d\r\nschedule=%d\r\nmode=%d\r\nstart_hour=%d\r\nstart_minute=%d\r\n"
                       "end_hour=%d\r\nend_minute=%d\r\nfeatures=%d\r\nred=%d\r\ngreen=%d\r\nblue=%d\r\n"
                       "contrast=%d\r\n",
                       state->source, state->schedule, state->mode, state->startHour, state->startMinute,
                       state->endHour, state->endMinute, state->features, state->red, state->green,
                       state->blue, state->contrast);
    wchar_t path[MAX_PATH * 2];
    if (!BesideLibrary(STATE_FILE, path, sizeof path / sizeof path[0])) return FALSE;
    HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    if (file == INVALID_HANDLE_VALUE) {
        AppendLine("error: cannot write the state file (%lu)", GetLastError());
        return FALSE;
    }
    DWORD written = 0;
    const BOOL ok = WriteFile(file, text, (DWORD)length, &written, NULL) && written == (DWORD)length;
    CloseHandle(file);
    if (!ok) AppendLine("error: the state file was not written whole");
    return ok;
}

static BOOL InRange(int value, int low, int high) { return value >= low && value <= high; }

/* A getter: logs the call and answers one field of the state, -1 when there is no state. */
#define GETTER(name, field)                                      \
    EXPORT int name(void) {                                      \
        AcquireSRWLockExclusive(&lock);                          \
        AppendLine(#name "()");                                  \
        State state;                                             \
        const int result = LoadState(&state) ? state.field : -1; \
        ReleaseSRWLockExclusive(&lock);                          \
        return result;                                           \
    }

/* A setter of one field: 1 when the value was in range and kept, 0 when it was refused. */
#define SETTER(name, field, low, high)                           \
    EXPORT int name(int value) {                                 \
        AcquireSRWLockExclusive(&lock);                          \
        AppendLine(#name "(%d)", value);                         \
        State state;                                             \
        int result = -1;                                         \
        if (LoadState(&state)) {                                 \
            result = InRange(value, low, high);                  \
            if (result) state.field = value;                     \
            if (!SaveState(&state)) result = -1;                 \
        }                                                        \
        ReleaseSRWLockExclusive(&lock);                          \
        return result;                                           \
    }

GETTER(IsPlatformSupported, platform)
GETTER(GetInputSource, source)
GETTER(GetSchedule, schedule)
GETTER(GetShedulerMode, mode)
GETTER(GetFeatures, features)
GETTER(GetRedGain, red)
GETTER(GetGreenGain, green)
GETTER(GetBlueGain, blue)
GETTER(GetContrast, contrast)

SETTER(EnableSchedule, schedule, 0, 1)
SETTER(SetShedulerMode, mode, 0, 2)
SETTER(SetRedGain, red, 0, 100)
SETTER(SetGreenGain, green, 0, 100)
SETTER(SetBlueGain, blue, 0, 100)
SETTER(SetContrast, contrast, 0, 100)

EXPORT int Start(void) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("Start()");
    ReleaseSRWLockExclusive(&lock);
    return 1;
}

EXPORT int Stop(int how) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("Stop(%d)", how);
    ReleaseSRWLockExclusive(&lock);
    return 1;
}

EXPORT int GetSupportedInputSources(int* array, int capacity) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("GetSupportedInputSources(%d)", capacity);
    State state;
    int result = -1;
    if (capacity < 0 || (capacity > 0 && array == NULL)) {
        AppendLine("error: GetSupportedInputSources was given no room");
    } else if (LoadState(&state)) {
        for (int i = 0; i < state.sourceCount && i < capacity; ++i) array[i] = state.sources[i];
        result = state.sourceCount;
    }
    ReleaseSRWLockExclusive(&lock);
    return result;
}

EXPORT int SetInputSource(int source) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("SetInputSource(%d)", source);
    State state;
    int result = -1;
    if (LoadState(&state)) {
        result = 0;
        for (int i = 0; i < state.sourceCount; ++i) {
            if (state.sources[i] == source) result = 1;
        }
        if (result) state.source = source;
        if (!SaveState(&state)) result = -1;
    }
    ReleaseSRWLockExclusive(&lock);
    return result;
}

EXPORT int GetScheduleTime(int* startHour, int* startMinute, int* endHour, int* endMinute) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("GetScheduleTime()");
    State state;
    int result = -1;
    if (startHour == NULL || startMinute == NULL || endHour == NULL || endMinute == NULL) {
        AppendLine("error: GetScheduleTime was given a null pointer");
    } else if (LoadState(&state)) {
        *startHour = state.startHour;
        *startMinute = state.startMinute;
        *endHour = state.endHour;
        *endMinute = state.endMinute;
        result = 1;
    }
    ReleaseSRWLockExclusive(&lock);
    return result;
}

EXPORT int SetScheduleTime(int startHour, int startMinute, int endHour, int endMinute) {
    AcquireSRWLockExclusive(&lock);
    AppendLine("SetScheduleTime(%d,%d,%d,%d)", startHour, startMinute, endHour, endMinute);
    State state;
    int result = -1;
    if (LoadState(&state)) {
        result = InRange(startHour, 0, 23) && InRange(startMinute, 0, 59) && InRange(endHour, 0, 23) &&
                 InRange(endMinute, 0, 59);
        if (result) {
            state.startHour = startHour;
            state.startMinute = startMinute;
            state.endHour = endHour;
            state.endMinute = endMinute;
        }
        if (!SaveState(&state)) result = -1;
    }
    ReleaseSRWLockExclusive(&lock);
    return result;
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    (void)reserved;
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(instance);
        AppendLine("attach");
    }
    return TRUE;
}
