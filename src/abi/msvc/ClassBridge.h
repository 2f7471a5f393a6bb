#pragma once
// The exported classes' way into the module. The classes are compiled for the Microsoft C++ ABI
// (src/abi/msvc/*.cpp); the module inside is g++'s. Between them only this plain C: texts as
// pointer and length, records as structures of those, lists handed out one item at a time to a
// sink. No exception crosses it in either direction (each side's unwinder skips the other's
// frames): the module's side catches everything and answers a status, and a sink catches
// everything and remembers it, for its own side to raise once the call has returned.
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Answers of the calls that can fail other than by a false result.
enum {
    kQvbDone = 0,
    kQvbOutOfMemory = 1,  // an allocation failed on the module's side
    kQvbFailed = 2,       // anything else the module's side caught
};

typedef struct QvbText {
    const wchar_t* text;
    size_t length;
} QvbText;

typedef void (*QvbTextSink)(void* context, const wchar_t* text, size_t length);
typedef void (*QvbBytesSink)(void* context, const uint8_t* bytes, size_t length);

// --- exemptions ----------------------------------------------------------------------------------
// The fields of a client record the criteria read.
typedef struct QvbClient {
    QvbText first;   // a store app's package name; an executable's path
    QvbText second;  // a store app's family name; an executable's detail
    uint16_t major;
    uint16_t minor;
} QvbClient;

typedef void (*QvbClientSink)(void* context, const QvbClient* client);

// A criterion's answer for `client` (null: none) against `list` (null: none); the executable's
// answers its path folded, as the check leaves the record, through `foldedPath`.
int QvbStoreAppIsExempt(const QvbClient* list, size_t count, int hasList, const QvbClient* client, int* exempt);
int QvbExecutableIsExempt(const QvbClient* list, size_t count, int hasList, const QvbClient* client, int* exempt,
                          QvbTextSink foldedPath, void* context);
// The built-in lists, entry by entry.
int QvbStoreAppExemptions(QvbClientSink sink, void* context);
int QvbExecutableExemptions(QvbClientSink sink, void* context);

// --- code signatures -----------------------------------------------------------------------------
typedef struct QvbSigner {
    const char* publicKey;
    size_t publicKeyLength;
    int32_t status;
    QvbText commonName;
    QvbText organization;
    QvbText locality;
    QvbText state;
    QvbText country;
    QvbText organizationalUnit;
    QvbText issuer;
} QvbSigner;

typedef void (*QvbSignerSink)(void* context, const QvbSigner* signer);
typedef void (*QvbKeySink)(void* context, const char* key, size_t length);
typedef void (*QvbLaunchRuleSink)(void* context, const QvbText* program, const QvbText* callers, size_t callerCount,
                                  uint16_t optionAllowed, int hasValidator);

enum { kQvbMainTable = 0, kQvbExtendedTable = 1, kQvbLaunchArgumentTable = 2 };
enum {
    kQvbIsTrustedSignedFile = 0,
    kQvbIsQvSignedFile = 1,
    kQvbIsDropboxFileTrusted = 2,
    kQvbIsWindowsTrustedFile = 3,
    kQvbIsPathAllowed = 5,
};

int QvbTrustTable(int table, QvbKeySink sink, void* context);
int QvbLaunchRules(QvbLaunchRuleSink sink, void* context);
// The validator of the rule for `program` (the rule's unexpanded key) on `arguments`.
int QvbLaunchArgumentsAccepted(const wchar_t* program, const wchar_t* arguments, int* accepted);

int QvbIsPathAllowed(const wchar_t* path, int* allowed);
int QvbFullControlOfTrustedInstallerAndSystem(const wchar_t* folder, size_t length, int* granted);

// A facade on the module's platform and tables; deleted with QvbFacadeDelete.
int QvbFacadeNew(void** facade);
void QvbFacadeDelete(void* facade);
int QvbFacadeCheck(void* facade, int check, const wchar_t* path, int* result);
int QvbFacadeHaveSameSigner(void* facade, const wchar_t* pathA, const wchar_t* pathB, int* result);
int QvbFacadeIsLaunchAllowed(void* facade, const wchar_t* program, int option, const wchar_t* arguments,
                             void* userToken, int* result);
// The file's check against a table of keys (hasTable 0: no table).
int QvbFacadeIsFileTrusted(void* facade, const wchar_t* path, int hasTable, const char* const* keys,
                           const size_t* keyLengths, size_t count, int* result);
int QvbFacadeGetSigners(void* facade, const wchar_t* path, size_t length, int useCatalog, QvbSignerSink sink,
                        void* context);
int QvbFacadeGetSecurityCatalogInfo(void* facade, const wchar_t* path, void* trustData, int* result);

// The package family name of the process behind the RPC call on this thread; `handles` are the
// helper's (process id, handle) pairs, lent for the call.
typedef struct QvbProcessHandle {
    uint32_t processId;
    void* handle;
} QvbProcessHandle;
int QvbCallerFamilyName(const QvbProcessHandle* handles, size_t count, QvbTextSink sink, void* context);
// Closes the helper's handles, which it owns.
void QvbCloseProcessHandles(const QvbProcessHandle* handles, size_t count);

// --- store packages ------------------------------------------------------------------------------
typedef struct QvbPackage {
    QvbText name;
    QvbText publisher;
    QvbText publisherId;
    QvbText familyName;
    QvbText fullName;
    QvbText version;
    QvbText installLocation;
} QvbPackage;

typedef void (*QvbPackageUserSink)(void* context, const wchar_t* userName, size_t length, int32_t installState);
typedef void (*QvbPackageSink)(void* context, const QvbPackage* package);

int QvbPackagesNew(void** packages);
void QvbPackagesDelete(void* packages);
int QvbPackagesPerUser(void* packages, const wchar_t* familyName, size_t length, QvbPackageUserSink sink,
                       void* context);
int QvbPackageFullName(void* packages, const wchar_t* familyName, size_t length, QvbTextSink sink, void* context);
int QvbRegisterPackage(void* packages, const wchar_t* familyName, size_t length, int* registered);
int QvbFindPackages(void* packages, const wchar_t* publisherId, size_t publisherIdLength, const wchar_t* appName,
                    size_t appNameLength, int* found);
int QvbPackagesOfFamily(void* packages, const wchar_t* familyName, size_t length, QvbPackageSink sink,
                        void* context);

int QvbDecodeBase64(const wchar_t* text, size_t length, QvbBytesSink sink, void* context);
int QvbEncodeBase64(const uint8_t* bytes, size_t length, QvbTextSink sink, void* context);

// --- device information ----------------------------------------------------------------------
enum {
    kQvbHostname = 0,
    kQvbProcessorName = 1,
    kQvbProductName = 2,
    kQvbProductNumber = 3,
    kQvbSerialNumber = 4,
};
int QvbDeviceText(int which, QvbTextSink sink, void* context);
int QvbInstalledMemory(unsigned long long* bytes);

// --- the signed client manifest --------------------------------------------------------------
typedef struct QvbManifestNode {
    QvbText name;
    QvbText text;
    const QvbText* attributeNames;
    const QvbText* attributeValues;
    size_t attributeCount;
    const struct QvbManifestNode* children;
    size_t childCount;
} QvbManifestNode;

int QvbManifestRuleTypes(QvbTextSink sink, void* context);
int QvbEvaluateManifestRule(const wchar_t* type, size_t typeLength, const QvbManifestNode* rule,
                            const wchar_t* value, size_t valueLength, int* result);
// A client's manifest, held until QvbManifestDelete; null with the problem told to `problem`.
int QvbManifestLoad(const wchar_t* client, size_t length, void** manifest, QvbTextSink problem, void* context);
void QvbManifestDelete(void* manifest);
int QvbManifestAllows(const void* manifest, uint32_t command, const wchar_t* arguments, size_t length, int* allowed,
                      QvbTextSink decidedBy, void* context);

#ifdef __cplusplus
}
#endif
