#pragma once
// Clients shipped before signed client manifests existed carry none: criteria that let such a
// client through by package or executable name up to a highest excused version, the built-in
// lists, and BridgeAccessManager, which holds the criterion the host chose for each client kind.
// The host admits a client so: its record, a criterion from GetExemption() and the record,
// SetUwpChecker or SetWin32Checker, then IsUwpExempt or IsWin32Exempt.
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "qv/Boundary.h"
#include "qv/ClientInformation.h"

namespace Qv::Bridge::Security {

class QV_CLASS MatchingDescriptor {
public:
    enum Operation : int32_t {
        Exempt = 0,
    };

    MatchingDescriptor();
    MatchingDescriptor(const MatchingDescriptor& other);
    MatchingDescriptor& operator=(const MatchingDescriptor& other);

    // How the descriptor is applied; the version criteria do not consult it.
    Operation operation;
};

class QV_CLASS UwpMatchingDescriptor : public MatchingDescriptor {
public:
    UwpMatchingDescriptor(Server::Uwp::UwpInformation client, Operation operation);
    UwpMatchingDescriptor(const UwpMatchingDescriptor& other);
    UwpMatchingDescriptor& operator=(const UwpMatchingDescriptor& other);
    ~UwpMatchingDescriptor();

    Server::Uwp::UwpInformation client;  // the family name and the highest excused version
};

class QV_CLASS Win32MatchingDescriptor : public MatchingDescriptor {
public:
    Win32MatchingDescriptor(Server::Win32::Win32Information client, Operation operation);
    Win32MatchingDescriptor(const Win32MatchingDescriptor& other);
    Win32MatchingDescriptor& operator=(const Win32MatchingDescriptor& other);
    ~Win32MatchingDescriptor();

    Server::Win32::Win32Information client;  // the lower-case name and the highest excused version
};

// The table: the scalar deleting destructor, then IsAnException. A host may give its own.
class QV_CLASS IClientWithNoQvManifestCheckCriteria {
public:
    virtual ~IClientWithNoQvManifestCheckCriteria();
    virtual bool IsAnException() = 0;
};

using UwpExemptionList = std::vector<UwpMatchingDescriptor>;
using Win32ExemptionList = std::vector<Win32MatchingDescriptor>;

// The client's family name matched exactly (case and all); a version not newer than the
// descriptor's is exempt.
class QV_CLASS UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion : public IClientWithNoQvManifestCheckCriteria {
public:
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::shared_ptr<UwpExemptionList> exemptions,
                                                        std::shared_ptr<Server::Uwp::UwpInformation> client);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& other);
    UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& operator=(
        const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& other);
    ~UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion() override;

    bool IsAnException() override;

private:
    std::shared_ptr<UwpExemptionList> exemptions;
    std::shared_ptr<Server::Uwp::UwpInformation> client;
};

// The client's executable name is folded to lower case in place (single-byte characters only),
// then matched exactly against the lower-case descriptor names: the record changes, so a record
// must not be evaluated on two threads at once.
class QV_CLASS Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion : public IClientWithNoQvManifestCheckCriteria {
public:
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(std::shared_ptr<Win32ExemptionList> exemptions,
                                                          std::shared_ptr<Server::Win32::Win32Information> client);
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
        const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& other);
    Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& operator=(
        const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& other);
    ~Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion() override;

    bool IsAnException() override;

private:
    std::shared_ptr<Win32ExemptionList> exemptions;
    std::shared_ptr<Server::Win32::Win32Information> client;
};

// The built-in lists; GetExemption hands out a copy, so that no criterion changes them.
class QV_CLASS UwpWithNoQVManifestExemptionWhiteList {
public:
    static std::shared_ptr<UwpExemptionList> GetExemption();
    static const UwpExemptionList _white_list;
};

class QV_CLASS Win32WithNoQVManifestExemptionWhiteList {
public:
    static std::shared_ptr<Win32ExemptionList> GetExemption();
    static const Win32ExemptionList _white_list;
};

class QV_CLASS bridge_access_exception : public std::exception {
public:
    explicit bridge_access_exception(const char* message);
    bridge_access_exception(const bridge_access_exception& other);
    bridge_access_exception(bridge_access_exception&& other) noexcept;
    bridge_access_exception& operator=(const bridge_access_exception& other);
    ~bridge_access_exception() override;

    const char* what() const override;
};

// Asking before the matching criterion was set is the host's error: a bridge_access_exception.
class QV_CLASS BridgeAccessManager {
public:
    BridgeAccessManager();
    BridgeAccessManager(const BridgeAccessManager& other);
    BridgeAccessManager& operator=(const BridgeAccessManager& other);
    ~BridgeAccessManager();

    void SetUwpChecker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker);
    void SetWin32Checker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker);
    bool IsUwpExempt();
    bool IsWin32Exempt();

private:
    std::shared_ptr<IClientWithNoQvManifestCheckCriteria> uwpChecker;
    std::shared_ptr<IClientWithNoQvManifestCheckCriteria> win32Checker;
};

}  // namespace Qv::Bridge::Security
