#pragma once
// Identity of the machine from single WMI properties in ROOT\CIMV2. Exported for the host's
// other modules; nothing inside this module asks.
#include <string>


namespace Qv::Bridge::Server::Services::DeviceControl {

class DeviceInfoHelper {
public:
    // One statically allocated instance; it has no state and needs no construction.
    static DeviceInfoHelper* GetInstance();

    // Empty when the property cannot be read.
    std::wstring GetHostname();
    std::wstring GetProcessorName();
    std::wstring GetProductName();
    std::wstring GetProductNumber();
    std::wstring GetSerialNumber();
    // The capacity of every memory module, summed, in bytes; 0 when it cannot be read.
    unsigned long long GetInstalledRAM() const;

private:
    std::wstring ReadString(const wchar_t* className, const wchar_t* property) const;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
