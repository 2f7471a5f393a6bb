#ifndef QV_SERVICE_ABI_H
#define QV_SERVICE_ABI_H
/*
 * The module's binary interface, as a Visual C++ x64 host sees it.
 *
 * The host is built with Visual C++, so the object that QVCreateService returns is laid out the
 * way that compiler lays out the abstract QVService: a pointer to a table of eleven entries, one
 * per virtual slot in declaration order (slot 0 is the scalar deleting destructor, one entry),
 * each called with the object as its first argument in the x64 calling convention, which
 * mingw-w64 shares. The callback of ExecuteCommand is a Visual C++ STL
 * std::function<void(wchar_t*)> passed by value: the caller builds a temporary and passes its
 * address, and the callee destroys it before returning.
 *
 * Plain C, so that any host (C, Visual C++, g++) can use it; the README's "Binary interface"
 * section gives the sources of the layout.
 */
#include <stddef.h>
#include <wchar.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "qv/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- std::function<void(wchar_t*)> of the Visual C++ STL ------------------------------------ */

/* The callable behind a function object (_Func_base<void, wchar_t*>): a table pointer first. */
typedef struct QVHostCallable QVHostCallable;

/* Its virtual table, in declaration order. DoCall takes the argument by rvalue reference, that
 * is, by the address of the pointer. Copy and Move construct into `where` when the callable is
 * small enough to live in a function object's storage, else allocate, and return the new one.
 * DeleteThis destroys the callable and, when `deallocate` is true, frees its memory. */
typedef struct QVHostCallableSlots {
    QVHostCallable* (*Copy)(const QVHostCallable* self, void* where);
    QVHostCallable* (*Move)(QVHostCallable* self, void* where);
    void (*DoCall)(QVHostCallable* self, wchar_t** argument);
    const void* (*TargetType)(const QVHostCallable* self);
    void (*DeleteThis)(QVHostCallable* self, bool deallocate);
    const void* (*Get)(const QVHostCallable* self);
} QVHostCallableSlots;

struct QVHostCallable {
    const QVHostCallableSlots* slots;
};

/* _Small_object_num_ptrs on x64: 6 + 16 / sizeof(void*). */
#define QV_HOST_FUNCTION_POINTERS 8
/* The last storage word holds the callable; the words before it may hold the callable itself. */
#define QV_HOST_FUNCTION_CALLABLE (QV_HOST_FUNCTION_POINTERS - 1)
#define QV_HOST_FUNCTION_SPACE (QV_HOST_FUNCTION_CALLABLE * 8)

/* The function object: 64 bytes, aligned as max_align_t is on x64 Visual C++ (8). Empty when
 * pointers[QV_HOST_FUNCTION_CALLABLE] is null; "local" when that pointer is the storage's own
 * address. */
typedef union QVHostFunction {
    double alignment;
    char space[QV_HOST_FUNCTION_SPACE];
    QVHostCallable* pointers[QV_HOST_FUNCTION_POINTERS];
} QVHostFunction;

/* --- QVService ------------------------------------------------------------------------------ */

typedef struct QVServiceObject QVServiceObject;

/* The host's per-request security configuration; passed through, never read by the module. */
typedef struct QVRequestConfiguration QVRequestConfiguration;

typedef struct QVServiceSlots {
    /* 0: flags bit 0 set frees the object; answers the object. */
    void* (*DeletingDestructor)(QVServiceObject* self, unsigned int flags);
    int (*StartSession)(QVServiceObject* self, wchar_t* clientId, void** sessionContext);
    int (*EndSession)(QVServiceObject* self, void** sessionContext);
    /* `callback` is the address of the caller's temporary; the module destroys it. */
    int (*ExecuteCommand)(QVServiceObject* self, void* sessionContext, unsigned int functionId, wchar_t* input,
                          wchar_t** output, QVHostFunction* callback, QVRequestConfiguration* requestConfiguration);
    /* 4: gives back a text that ExecuteCommand handed out; null does nothing. */
    void (*ReleaseOutput)(QVServiceObject* self, wchar_t* text);
    void (*StartupTask)(QVServiceObject* self);
    void (*ReservedHook6)(QVServiceObject* self);
    void (*ReservedHook7)(QVServiceObject* self);
    bool (*OobeEventTask)(QVServiceObject* self);
    void (*SessionChangeTask)(QVServiceObject* self, unsigned long event, void* data);
    void (*ReservedHook10)(QVServiceObject* self);
} QVServiceSlots;

struct QVServiceObject {
    const QVServiceSlots* slots;
};

/* One row of the command table as devicectl lists it. */
typedef struct QVCommandInfo {
    unsigned int number;
    const char* name; /* "<Area>.<Operation>" */
    const char* form; /* "inline", "delegated" or "filled" */
    int live;         /* 1 when this build carries the handler */
} QVCommandInfo;

/* The factory: a fresh service on every call; the host destroys it through slot 0. */
QV_API QVServiceObject* QVCreateService(void);
/* Development aids for devicectl. The command table of this build: */
QV_API const QVCommandInfo* QVDescribeCommands(unsigned int* count);
/* What the module sees of the machine, as a compact JSON object with "hostName", "processor",
 * "productName", "productNumber", "serialNumber" and "installedMemory" (bytes). Written into
 * `buffer` when `capacity` wide characters hold it; answers the characters it needs, with the
 * terminator. */
QV_API unsigned int QVDescribeDevice(wchar_t* buffer, unsigned int capacity);
/* The experience modes `service` (from QVCreateService, alive) built for this machine, as a compact
 * JSON array of {"ModeName", "Commands": [{"Type", "Parameter", "ParameterKey", "Order"}]}; "[]"
 * without a live service. The same buffer rule. */
QV_API unsigned int QVDescribeModes(QVServiceObject* service, wchar_t* buffer, unsigned int capacity);
/* Why the companion application will or will not be started on this machine: a compact JSON
 * object with "featureByte", "board", "boardListed", "eligible", "realUserSession", "package",
 * "launchedAlready", "launchStarted", "wait", "remainingSeconds" and "verdict". `service` (from
 * QVCreateService, or null) gives the wait it has armed; nothing is armed. The same buffer rule. */
QV_API unsigned int QVDescribeLaunch(QVServiceObject* service, wchar_t* buffer, unsigned int capacity);
/* The signed client manifest of `client` (an executable, its QVManifest.xml or its folder) asked
 * about command `command` with the JSON object `arguments`: {"allowed", "decidedBy",
 * "signedThrough"}, or {"allowed": false, "problem"} when no verified manifest is there. The same
 * buffer rule. */
QV_API unsigned int QVCheckManifest(const wchar_t* client, unsigned int command, const wchar_t* arguments,
                                    wchar_t* buffer, unsigned int capacity);

#ifdef __cplusplus
}
#endif

#endif /* QV_SERVICE_ABI_H */
