/*
 * A host written in C: it has no C++ ABI of its own, so it sees the module exactly as the
 * boundary header describes it, as a Visual C++ host would. It loads the installed DLL, drives
 * every slot in the host's order and counts the function objects it hands over: each one must
 * be destroyed exactly once, by the module, in the way its storage asks for.
 */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "qv/QVServiceAbi.h"

static int failures;
static int checks;

#define CHECK(condition, what)                                  \
    do {                                                        \
        ++checks;                                               \
        if (!(condition)) {                                     \
            ++failures;                                         \
            printf("FAIL %s (line %d)\n", what, __LINE__);      \
        } else {                                                \
            printf("ok   %s\n", what);                          \
        }                                                       \
    } while (0)

/* --- function objects of the Visual C++ layout ---------------------------------------------- */

static struct {
    int made;      /* constructed by the host or by a Copy/Move the module asked for */
    int destroyed; /* DeleteThis */
    int wrongRelease; /* DeleteThis asked to free an in-place callable, or to keep a heap one */
    int calls;
} counts;

/* Small enough to live inside the function object's storage. */
typedef struct Small {
    QVHostCallable base;
    int tag;
} Small;

/* Too big for the storage: on the heap. */
typedef struct Large {
    QVHostCallable base;
    char payload[96];
} Large;

static QVHostCallable* SmallCopy(const QVHostCallable* self, void* where) {
    memcpy(where, self, sizeof(Small));
    ++counts.made;
    return (QVHostCallable*)where;
}
static QVHostCallable* SmallMove(QVHostCallable* self, void* where) { return SmallCopy(self, where); }
static QVHostCallable* LargeCopy(const QVHostCallable* self, void* where) {
    Large* copy = (Large*)malloc(sizeof(Large));
    (void)where;
    memcpy(copy, self, sizeof(Large));
    ++counts.made;
    return &copy->base;
}
static QVHostCallable* LargeMove(QVHostCallable* self, void* where) {
    (void)self;
    (void)where;
    ++counts.wrongRelease; /* a heap callable is handed on by pointer, never moved */
    return NULL;
}
/* Set by `seh-callback`: the callback raises what a Visual C++ `throw` raises (code 0xE06D7363). */
static int raiseInCallback;

static void DoCall(QVHostCallable* self, wchar_t** argument) {
    (void)self;
    (void)argument;
    ++counts.calls;
    if (raiseInCallback) RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, NULL);
}
static const void* TargetType(const QVHostCallable* self) {
    (void)self;
    return NULL;
}
static void SmallDelete(QVHostCallable* self, bool deallocate) {
    (void)self;
    ++counts.destroyed;
    if (deallocate) ++counts.wrongRelease;
}
static void LargeDelete(QVHostCallable* self, bool deallocate) {
    ++counts.destroyed;
    if (deallocate) free(self);
    else ++counts.wrongRelease;
}
static const void* Get(const QVHostCallable* self) { return self + 1; }

static const QVHostCallableSlots kSmallSlots = {SmallCopy, SmallMove, DoCall, TargetType, SmallDelete, Get};
static const QVHostCallableSlots kLargeSlots = {LargeCopy, LargeMove, DoCall, TargetType, LargeDelete, Get};

static void MakeSmall(QVHostFunction* function) {
    Small* small = (Small*)function;
    memset(function, 0, sizeof *function);
    small->base.slots = &kSmallSlots;
    small->tag = 7;
    function->pointers[QV_HOST_FUNCTION_CALLABLE] = &small->base;
    ++counts.made;
}

static void MakeLarge(QVHostFunction* function) {
    Large* large = (Large*)calloc(1, sizeof(Large));
    memset(function, 0, sizeof *function);
    large->base.slots = &kLargeSlots;
    function->pointers[QV_HOST_FUNCTION_CALLABLE] = &large->base;
    ++counts.made;
}

/* --- the host -------------------------------------------------------------------------------- */

/* A low-memory subscription (command 31) held open on a thread of its own. */
typedef struct Subscription {
    QVServiceObject* service;
    const QVServiceSlots* slots; /* kept apart: the service may be destroyed while 31 waits */
    void* session;
    int status;
    wchar_t answer[64];
} Subscription;

static DWORD WINAPI Subscribe(void* argument) {
    Subscription* subscription = (Subscription*)argument;
    wchar_t request[] = L"{\"eventId\":1002,\"memoryThreshold\":0}";
    wchar_t* output = NULL;
    QVHostFunction callback;
    MakeSmall(&callback);
    const QVServiceSlots* slots = subscription->slots != NULL ? subscription->slots : subscription->service->slots;
    subscription->status =
        slots->ExecuteCommand(subscription->service, subscription->session, 31, request, &output, &callback, NULL);
    if (output != NULL) wcsncpy(subscription->answer, output, 63);
    slots->ReleaseOutput(subscription->service, output);
    return 0;
}

static int Execute(QVServiceObject* service, void* session, unsigned number, const wchar_t* json, wchar_t** output,
                   int large) {
    QVHostFunction callback; /* the caller's temporary; the module ends it */
    wchar_t input[256];
    wcsncpy(input, json, 255);
    input[255] = L'\0';
    if (large) MakeLarge(&callback);
    else MakeSmall(&callback);
    return service->slots->ExecuteCommand(service, session, number, input, output, &callback, NULL);
}

/*
 * The host's life as a service host lives it, then the module unloaded: subscribe to low memory,
 * take the event, end the subscription (or, with `waiting`, destroy the service while it still
 * holds the host's thread), end the session, destroy the service, FreeLibrary, and live on for
 * `seconds`. No code of the module may run after FreeLibrary: a thread of its that woke up later
 * would fault in unmapped code and take the host with it. With `undestroyed`, a host that forgets
 * to destroy the service unloads the module all the same: the polling thread, asleep until its next
 * round, holds the module until it has ended.
 */
enum { END_SUBSCRIPTION, DESTROY_WHILE_WAITING, NEVER_DESTROYED };

static int Unload(int mode, DWORD seconds) {
    wchar_t path[MAX_PATH];
    wchar_t client[] = L"c-host-unload";
    wchar_t* output = NULL;
    void* session = NULL;
    Subscription subscription;
    HANDLE thread;
    HMODULE module;
    QVServiceObject* (*create)(void);
    QVServiceObject* service;
    int waited;

    ExpandEnvironmentStringsW(L"%ProgramFiles%\\DeviceControl\\DeviceControlService.dll", path, MAX_PATH);
    module = LoadLibraryW(path);
    CHECK(module != NULL, "the installed DLL loads");
    if (module == NULL) return 1;
    create = (QVServiceObject * (*)(void))(void*)GetProcAddress(module, "QVCreateService");
    service = create != NULL ? create() : NULL;
    CHECK(service != NULL, "the factory gives a service");
    if (service == NULL) return 1;
    service->slots->StartSession(service, client, &session);

    memset(&subscription, 0, sizeof subscription);
    subscription.service = service;
    subscription.slots = service->slots;
    subscription.session = session;
    thread = CreateThread(NULL, 0, Subscribe, &subscription, 0, NULL);
    for (waited = 0; counts.calls == 0 && waited < 20000; waited += 10) Sleep(10);
    CHECK(counts.calls == 1, "the low-memory event arrived (threshold 0)");
    if (mode != DESTROY_WHILE_WAITING) {
        CHECK(Execute(service, session, 32, L"{\"eventId\":1002}", &output, 0) == 0 && output != NULL &&
                  wcscmp(output, L"{\"result\":11}") == 0,
              "32 ends the subscription");
        service->slots->ReleaseOutput(service, output);
        CHECK(WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0, "the subscribing thread returns");
        CHECK(wcscmp(subscription.answer, L"{\"result\":1}") == 0, "31 answers 1");
        CHECK(service->slots->EndSession(service, &session) == 0, "the session ends");
        if (mode == END_SUBSCRIPTION)
            CHECK(service->slots->DeletingDestructor(service, 1) == (void*)service, "the service is destroyed");
    } else {
        /* The host stops the service with a subscription still waiting in 31. */
        CHECK(service->slots->DeletingDestructor(service, 1) == (void*)service, "the service is destroyed");
        CHECK(WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0, "the subscription held in 31 was ended");
        CHECK(wcscmp(subscription.answer, L"{\"result\":1}") == 0, "31 answers 1");
    }
    CloseHandle(thread);
    CHECK(FreeLibrary(module), "FreeLibrary");
    if (mode == NEVER_DESTROYED) {
        CHECK(GetModuleHandleW(L"DeviceControlService.dll") != NULL, "the polling thread keeps the module mapped");
        for (waited = 0; GetModuleHandleW(L"DeviceControlService.dll") != NULL && waited < 30000; waited += 100)
            Sleep(100);
    }
    CHECK(GetModuleHandleW(L"DeviceControlService.dll") == NULL, "the module is unmapped");
    printf("living on for %lu s after FreeLibrary\n", (unsigned long)seconds);
    fflush(stdout);
    Sleep(seconds * 1000);
    CHECK(1, "the host is still alive");
    printf("%d checks, %d failed\n", checks, failures);
    return failures == 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    wchar_t path[MAX_PATH];
    HMODULE module;
    QVServiceObject* (*create)(void);
    QVServiceObject* service;
    void* session = NULL;
    wchar_t* output = NULL;
    wchar_t input[] = L"{}";
    wchar_t client[] = L"c-host";
    QVHostFunction empty;
    int i;

    /* The same life with a callback that raises what a Visual C++ `throw` raises: the module
     * stops it at its call, logs it, and the subscription goes on until 32 ends it. */
    if (argc >= 2 && strcmp(argv[1], "seh-callback") == 0) {
        raiseInCallback = 1;
        return Unload(END_SUBSCRIPTION, 1);
    }
    if (argc >= 2 && strcmp(argv[1], "unload") == 0) return Unload(END_SUBSCRIPTION, argc >= 3 ? (DWORD)atoi(argv[2]) : 25);
    if (argc >= 2 && strcmp(argv[1], "unload-waiting") == 0)
        return Unload(DESTROY_WHILE_WAITING, argc >= 3 ? (DWORD)atoi(argv[2]) : 25);
    if (argc >= 2 && strcmp(argv[1], "unload-undestroyed") == 0)
        return Unload(NEVER_DESTROYED, argc >= 3 ? (DWORD)atoi(argv[2]) : 25);

    ExpandEnvironmentStringsW(L"%ProgramFiles%\\DeviceControl\\DeviceControlService.dll", path, MAX_PATH);
    module = LoadLibraryW(path);
    CHECK(module != NULL, "the installed DLL loads");
    if (module == NULL) return 1;
    create = (QVServiceObject * (*)(void))(void*)GetProcAddress(module, "QVCreateService");
    CHECK(create != NULL, "QVCreateService is exported");
    if (create == NULL) return 1;

    service = create();
    CHECK(service != NULL && service->slots != NULL, "the factory gives an object with a slot table");
    if (service == NULL) return 1;

    CHECK(service->slots->StartSession(service, client, &session) == 0 && session != NULL,
          "slot 1 starts a session");

    CHECK(Execute(service, session, 14, L"{}", &output, 0) == 0x20000001, "slot 3: unsupported number");
    CHECK(output != NULL && wcscmp(output, L"{}") == 0, "slot 3: its answer is {}");
    service->slots->ReleaseOutput(service, output);

    output = (wchar_t*)1;
    CHECK(Execute(service, session, 91, L"{", &output, 1) == 0x20000003 && output == NULL,
          "slot 3: malformed JSON, no answer text (heap callback)");
    CHECK(Execute(service, NULL, 134, L"{\"IValue\":5}", &output, 0) == 0x20000001 && output != NULL,
          "slot 3: no session for a command that needs none");
    service->slots->ReleaseOutput(service, output);

    {
        QVHostFunction callback;
        MakeSmall(&callback);
        CHECK(service->slots->ExecuteCommand(service, session, 14, NULL, &output, &callback, NULL) == 0x20000002,
              "slot 3: null input");
        MakeLarge(&callback);
        CHECK(service->slots->ExecuteCommand(service, session, 14, input, NULL, &callback, NULL) == 0x20000002,
              "slot 3: null output pointer");
    }
    memset(&empty, 0, sizeof empty);
    CHECK(service->slots->ExecuteCommand(service, session, 14, input, &output, &empty, NULL) == 0x20000001,
          "slot 3: an empty callback is accepted");
    service->slots->ReleaseOutput(service, output);
    CHECK(service->slots->ExecuteCommand(service, session, 14, input, &output, NULL, NULL) == 0x20000001,
          "slot 3: no callback at all is accepted");
    service->slots->ReleaseOutput(service, output);

    for (i = 0; i < 500; ++i) {
        output = NULL;
        Execute(service, session, 134, L"{}", &output, i % 2);
        service->slots->ReleaseOutput(service, output);
    }
    service->slots->ReleaseOutput(service, NULL);
    CHECK(1, "slot 4 releases 500 answers and a null text");

    {
        /* The module keeps a copy of the callback for its event messages and calls it from the
           subscription's thread; command 32 on this thread ends the subscription. */
        Subscription subscription = {service, NULL, session, -1, {0}};
        wchar_t stop[] = L"{\"eventId\":1002}";
        HANDLE thread = CreateThread(NULL, 0, Subscribe, &subscription, 0, NULL);
        for (i = 0; i < 1000 && counts.calls == 0; ++i) Sleep(10);
        CHECK(counts.calls == 1, "the subscription sent one low-memory message through the callback");
        CHECK(service->slots->ExecuteCommand(service, session, 32, stop, &output, NULL, NULL) == 0 &&
                  wcscmp(output, L"{\"result\":11}") == 0,
              "command 32 on another thread stops it");
        service->slots->ReleaseOutput(service, output);
        WaitForSingleObject(thread, 10000);
        CloseHandle(thread);
        CHECK(subscription.status == 0 && wcscmp(subscription.answer, L"{\"result\":1}") == 0,
              "command 31 then answers {\"result\":1}");
    }

    service->slots->ReservedHook6(service);
    service->slots->ReservedHook7(service);
    service->slots->ReservedHook10(service);
    CHECK(service->slots->OobeEventTask(service) == true, "slot 8 answers true");
    CHECK(service->slots->OobeEventTask(service) == true, "slot 8 answers true again");
    service->slots->SessionChangeTask(service, 7, NULL);
    CHECK(service->slots->EndSession(service, &session) == 0, "slot 2 ends the session");
    CHECK(service->slots->DeletingDestructor(service, 1) == (void*)service, "slot 0 with flag 1 answers the object");

    printf("callbacks: %d made, %d destroyed, %d released the wrong way, %d called\n", counts.made, counts.destroyed,
           counts.wrongRelease, counts.calls);
    CHECK(counts.made > 500 && counts.made == counts.destroyed, "every callback object was destroyed exactly once");
    CHECK(counts.wrongRelease == 0, "each was released as its storage asks");
    CHECK(counts.calls == 1, "only the subscription sent an event");

    printf("%d checks, %d failed\n", checks, failures);
    return failures == 0 ? 0 : 1;
}
