// The simulated firmware's command channel: command 1 reads the system mode (the first of the
// output bytes), command 2 writes it (the first input byte), command 3 reads the feature byte
// (the first output byte); there is no other command. Like the firmware, it takes only a
// well-formed block: the signature "SECU", command type 90, and the method named for the size
// of the output ("qvkBIOSInt" and the size); anything else fails the method call.
#include "platform/sim/SimWmi.h"

namespace Qv::Sim {
namespace {

constexpr int32_t kNotFound = static_cast<int32_t>(0x80041002);
constexpr int32_t kInvalidParameter = static_cast<int32_t>(0x80041008);
constexpr int32_t kReadCommand = 1;
constexpr int32_t kWriteCommand = 2;
constexpr int32_t kFeatureByteCommand = 3;

}  // namespace

platform::FirmwareReply SimWmi::ExecuteFirmwareCommand(const platform::FirmwareRequest& request) {
    platform::FirmwareReply reply;
    if (const auto fault = faults_.Enter(SimPort::Wmi)) {
        reply.failure = platform::WmiCallFailure{"ExecuteCommand", L"IWbemServices->ExecMethod", *fault};
        return reply;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    methods_.Add(request.methodName);
    lastInput_ = request.data;
    if (!firmware_.present) {
        reply.failure = platform::WmiCallFailure{"ExecuteCommand", L"IWbemServices->GetObject(InputDataBlock)", kNotFound};
        return reply;
    }
    const std::vector<uint8_t> signature{'S', 'E', 'C', 'U'};
    if (request.sign != signature || request.commandType != 90 ||
        request.methodName != L"qvkBIOSInt" + std::to_wstring(request.outputSize) ||
        request.command < kReadCommand || request.command > kFeatureByteCommand) {
        reply.failure = platform::WmiCallFailure{"ExecuteCommand", L"IWbemServices->ExecMethod", kInvalidParameter};
        return reply;
    }
    reply.returnCode = firmware_.returnCode;
    if (firmware_.returnCode != 0) return reply;
    if (request.command == kWriteCommand && !request.data.empty()) firmware_.systemMode = request.data[0];
    if (request.outputSize > 0) {
        reply.hasData = true;
        const size_t size = firmware_.replySize >= 0 ? static_cast<size_t>(firmware_.replySize) : request.outputSize;
        reply.data.assign(size, 0);
        if (request.command == kReadCommand && size > 0) reply.data[0] = firmware_.systemMode;
        if (request.command == kFeatureByteCommand && size > 0) reply.data[0] = firmware_.featureByte;
    }
    return reply;
}

std::vector<std::wstring> SimWmi::FirmwareMethods() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return methods_.Items();
}

std::vector<uint8_t> SimWmi::LastFirmwareInput() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lastInput_;
}

}  // namespace Qv::Sim
