#pragma once
// Records that describe a calling process: a packaged store app or an ordinary executable.
// They are the payload of the exemption descriptors and of the access checks, and are exported
// so that the host builds them with the same layout as this module.
#include <cstdint>
#include <string>


namespace Qv::Bridge::Server {

enum class ClientType : int32_t {
    Uwp = 0,
    Win32 = 1,
};

// Plain record, no virtual operations: the kinds below are copied by value, never used through
// a base pointer.
class IClientInformation {
public:
    IClientInformation();
    explicit IClientInformation(ClientType type);
    IClientInformation(ClientType type, std::wstring id);
    IClientInformation(const IClientInformation& other);
    IClientInformation& operator=(const IClientInformation& other);
    ~IClientInformation();

    ClientType type = ClientType::Uwp;
    std::wstring id;  // identity within its kind; see the kinds for which string it is
};

namespace Uwp {

class UwpInformation : public IClientInformation {
public:
    UwpInformation();
    // id is the family name (the second string): rules about store apps match on it.
    UwpInformation(std::wstring packageName, std::wstring packageFamilyName, uint16_t major, uint16_t minor);
    UwpInformation(const UwpInformation& other);
    UwpInformation& operator=(const UwpInformation& other);
    ~UwpInformation();

    std::wstring packageName;        // package name or name pattern a rule speaks of
    std::wstring packageFamilyName;  // same value as id
    uint16_t major = 0;
    uint16_t minor = 0;

    // Filled in by other components from the installed package; carried along, not read here.
    std::wstring packageFullName;
    std::wstring publisher;
    std::wstring installPath;
    uint32_t architecture = 0;
};

}  // namespace Uwp

namespace Win32 {

class Win32Information : public IClientInformation {
public:
    Win32Information();
    // id is the executable path (the first string), unlike store apps.
    Win32Information(std::wstring path, uint16_t major, uint16_t minor);
    Win32Information(std::wstring path, std::wstring detail, uint16_t major, uint16_t minor);
    Win32Information(const Win32Information& other);
    Win32Information& operator=(const Win32Information& other);
    ~Win32Information();

    std::wstring path;    // executable name or path; the exemption check folds it in place
    std::wstring detail;  // carried along, not interpreted here
    uint16_t major = 0;
    uint16_t minor = 0;
};

}  // namespace Win32

}  // namespace Qv::Bridge::Server
