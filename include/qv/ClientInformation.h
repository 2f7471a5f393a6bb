#pragma once
// Who is calling: the records of a client process (a packaged store app or an ordinary
// executable), and the package family of the process behind the current RPC call.
#include <cstdint>
#include <map>
#include <string>

#include "qv/Boundary.h"

namespace Qv::Bridge::Server {

enum class ClientType : int32_t {
    Uwp = 0,
    Win32 = 1,
};

// A plain record, copied by value; default-constructed it is a store app with no id.
class QV_CLASS IClientInformation {
public:
    IClientInformation();
    explicit IClientInformation(ClientType type);
    IClientInformation(ClientType type, std::wstring id);
    IClientInformation(const IClientInformation& other);
    IClientInformation& operator=(const IClientInformation& other);
    ~IClientInformation();

    ClientType type;
    std::wstring id;
};

namespace Uwp {

// A store app: its id is the family name (the second string).
class QV_CLASS UwpInformation : public IClientInformation {
public:
    UwpInformation();
    UwpInformation(std::wstring packageName, std::wstring packageFamilyName, uint16_t major, uint16_t minor);
    UwpInformation(const UwpInformation& other);
    UwpInformation& operator=(const UwpInformation& other);
    ~UwpInformation();

    std::wstring packageName;        // the package name or name pattern a rule speaks of
    std::wstring packageFamilyName;  // the same as id
    uint16_t major;
    uint16_t minor;
    // Filled in by other components from the installed package; carried along.
    std::wstring packageFullName;
    std::wstring publisher;
    std::wstring installPath;
    uint32_t architecture;
};

}  // namespace Uwp

namespace Win32 {

// An ordinary executable: its id is the path (the first string).
class QV_CLASS Win32Information : public IClientInformation {
public:
    Win32Information();
    Win32Information(std::wstring path, uint16_t major, uint16_t minor);
    Win32Information(std::wstring path, std::wstring detail, uint16_t major, uint16_t minor);
    Win32Information(const Win32Information& other);
    Win32Information& operator=(const Win32Information& other);
    ~Win32Information();

    std::wstring path;    // executable name or path; the exemption check folds it in place
    std::wstring detail;  // carried along
    uint16_t major;
    uint16_t minor;
};

}  // namespace Win32

}  // namespace Qv::Bridge::Server

namespace Qv::Bridge::Security {

// The host's per-request security configuration; this module passes it on and never reads it.
class RequestConfiguration;

// Made on the stack for one check.
class QV_CLASS RpcSecurityHelper {
public:
    RpcSecurityHelper();
    // Closes the handles of processHandles.
    ~RpcSecurityHelper();
    RpcSecurityHelper(const RpcSecurityHelper&) = delete;
    RpcSecurityHelper& operator=(const RpcSecurityHelper&) = delete;

    // The package family name of the process behind the RPC call on this thread; empty when it
    // has none or it cannot be found (logged). The thread is never left impersonating the client.
    std::wstring GetPFNOfCaller();

    // Process handles by process id, for callers that cannot be opened directly: a host that
    // keeps handles of its clients may put duplicates here; the helper owns and closes them.
    std::map<uint32_t, void*> processHandles;

    // The files of the signed client manifest.
    static const wchar_t* const kManifestBaseName;        // "QVManifest"
    static const wchar_t* const kManifestExtensions[4];   // ".xml", ".cat", ".p7s", ".qvc"
    static const wchar_t* const kManifestCatalogs[2];     // "qvcustomcapcompx64.cat", "qvcustomcapcompx86.cat"
    static const wchar_t* const kManifestPublisherHash;   // "k4m2x9trq7bw3"
};

}  // namespace Qv::Bridge::Security
