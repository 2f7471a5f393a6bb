#pragma once
#include "platform/IWmi.h"

namespace Qv::platform::windows {

// WMI through COM: IWbemLocator, IWbemServices, IWbemClassObject. Every call initialises COM
// (multithreaded) on its own thread for itself.
class WinWmi : public IWmi {
public:
    WmiConnectResult Connect(const std::wstring& wmiNamespace) override;
    WmiPropertyRead ReadProperty(const std::wstring& wmiNamespace, const std::wstring& className,
                                 const std::wstring& condition, const std::wstring& property) override;
    FirmwareReply ExecuteFirmwareCommand(const FirmwareRequest& request) override;
};

}  // namespace Qv::platform::windows
