// The machine's identity for Visual C++ programs: the module's own reads, their texts copied.
#include "abi/msvc/Support.h"
#include "qv/DeviceInformation.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

std::wstring Read(int which) {
    std::wstring text;
    Boundary::Collect<std::wstring> collect{text};
    Boundary::Check(QvbDeviceText(which, &Boundary::TextSink, &collect), collect);
    return text;
}

DeviceInfoHelper instance;

}  // namespace

DeviceInfoHelper* DeviceInfoHelper::GetInstance() { return &instance; }
std::wstring DeviceInfoHelper::GetHostname() { return Read(kQvbHostname); }
std::wstring DeviceInfoHelper::GetProcessorName() { return Read(kQvbProcessorName); }
std::wstring DeviceInfoHelper::GetProductName() { return Read(kQvbProductName); }
std::wstring DeviceInfoHelper::GetProductNumber() { return Read(kQvbProductNumber); }
std::wstring DeviceInfoHelper::GetSerialNumber() { return Read(kQvbSerialNumber); }

unsigned long long DeviceInfoHelper::GetInstalledRAM() const {
    unsigned long long bytes = 0;
    const int status = QvbInstalledMemory(&bytes);
    Boundary::Check(status);
    return status == kQvbDone ? bytes : 0;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
