#pragma once
// The machine's identity from single WMI properties in ROOT\CIMV2, for the host's other modules.
#include <string>

#include "qv/Boundary.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class QV_CLASS DeviceInfoHelper {
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
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
