#pragma once
// The client of the firmware's command channel (a WMI method class): one call sends one command
// with its input bytes and brings back the firmware's return code and output bytes.
#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class FirmwareCommandClient {
public:
    static constexpr int32_t kFailed = static_cast<int32_t>(0x80004005);  // E_FAIL: no channel
    static constexpr int32_t kCommandType = 90;
    static constexpr uint8_t kSign[4] = {0x53, 0x45, 0x43, 0x55};  // "SECU"

    // `owner` names the class that uses the channel in every message.
    FirmwareCommandClient(platform::Platform& platform, std::string owner);

    // Sends `command` with `inputSize` bytes of `input` (null when 0) and asks for `outputSize`
    // bytes into `output`. Answers S_OK or the HRESULT of the failing call (E_FAIL when the
    // channel could not be opened); `returnCode` is set when the firmware ran the command. Output
    // of another size than asked is logged and leaves `output` untouched. `commandType` is
    // accepted for the interface's sake: the block always carries 90.
    int32_t ExecuteCommand(uint32_t command, uint32_t commandType, uint32_t inputSize, const uint8_t* input,
                           uint32_t outputSize, uint8_t* output, uint32_t& returnCode);

    // The method that returns `outputSize` bytes: "qvkBIOSInt" and the size in decimal.
    static std::wstring MethodName(uint32_t outputSize);

private:
    platform::Platform& platform_;
    std::string owner_;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
