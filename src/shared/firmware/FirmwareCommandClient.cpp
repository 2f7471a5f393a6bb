#include "shared/firmware/FirmwareCommandClient.h"

#include <algorithm>

#include "core/logging.h"
#include "core/wformat.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

FirmwareCommandClient::FirmwareCommandClient(platform::Platform& platform, std::string owner)
    : platform_(platform), owner_(std::move(owner)) {}

std::wstring FirmwareCommandClient::MethodName(uint32_t outputSize) {
    std::wstring name = Core::FormatWide(L"qvkBIOSInt%u", outputSize);
    if (name.size() > 59) name.resize(59);  // the name's buffer holds 60 characters
    return name;
}

int32_t FirmwareCommandClient::ExecuteCommand(uint32_t command, uint32_t /*commandType*/, uint32_t inputSize,
                                              const uint8_t* input, uint32_t outputSize, uint8_t* output,
                                              uint32_t& returnCode) {
    auto* logger = Logging::LogManager::GetLogger();
    platform::FirmwareRequest request;
    request.methodName = MethodName(outputSize);
    request.sign.assign(std::begin(kSign), std::end(kSign));
    request.command = static_cast<int32_t>(command);
    request.commandType = kCommandType;
    if (input != nullptr) request.data.assign(input, input + inputSize);
    request.outputSize = outputSize;

    const platform::FirmwareReply reply = platform_.Wmi().ExecuteFirmwareCommand(request);
    if (reply.failure) {
        Logging::LogComFailure(logger, owner_.c_str(), reply.failure->operation, reply.failure->call,
                               static_cast<unsigned long>(reply.failure->hresult));
        return std::string_view(reply.failure->operation) == "GetReady" ? kFailed : reply.failure->hresult;
    }
    returnCode = static_cast<uint32_t>(reply.returnCode);
    if (outputSize > 0) {
        if (!reply.hasData) {
            logger->LogWarning(L"%S.%S - return data is invalid", owner_.c_str(), "GetOutputData");
        } else if (reply.data.size() != outputSize) {
            logger->LogWarning(L"%S.%S - invalid return data size. requested %d byte, but retuned %d byte",
                               owner_.c_str(), "GetOutputData", static_cast<int>(outputSize),
                               static_cast<int>(reply.data.size()));
        } else if (output != nullptr) {
            std::copy(reply.data.begin(), reply.data.end(), output);
        }
    }
    return 0;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
