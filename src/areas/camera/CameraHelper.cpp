#include "areas/camera/CameraHelper.h"

#include <cstdio>
#include <string>

#include "areas/camera/CameraProtocol.h"
#include "core/status.h"
#include "core/strings.h"
#include "platform/platform.h"
#include "service/Arguments.h"
#include "shared/tool/ToolRunner.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

namespace Words = Tool::Camera;

std::optional<int> Ask(const wchar_t* function, const std::wstring& argument = L"") {
    return ToolRunner::Ask(Words::kArea, Words::kReply, function, argument);
}

bool NonZero(const wchar_t* function, const std::wstring& argument = L"") { return Ask(function, argument).value_or(0) != 0; }

template <class Typed>
int Answer(Json::Document* response, Typed&& typed) {
    response->AddMember(L"result", typed(), response->GetAllocator());
    return Status::kSuccess;
}

}  // namespace

CameraHelper* CameraHelper::GetInstance() {
    static CameraHelper instance;
    return &instance;
}

CameraHelper::CameraHelper() { logger_ = Logging::LogManager::GetSystemInformationLogger(); }

bool CameraHelper::IsZoomSupported() { return NonZero(Words::kIsZoomSupported); }
int CameraHelper::GetZoom() { return Ask(Words::kGetZoom).value_or(-1); }
bool CameraHelper::SetZoom(int zoom) { return NonZero(Words::kSetZoom, std::to_wstring(zoom)); }
bool CameraHelper::IsBlurSupported() { return NonZero(Words::kIsBlurSupported); }
bool CameraHelper::GetBlurOnOff() { return NonZero(Words::kGetBlurOnOff); }
bool CameraHelper::SetBlurOnOff(bool on) { return NonZero(Words::kSetBlurOnOff, Tool::Switch(on)); }
bool CameraHelper::IsAutoFrameSupported() { return NonZero(Words::kIsAutoFrameSupported); }
bool CameraHelper::GetAutoFrameOnOff() { return NonZero(Words::kGetAutoFrameOnOff); }
bool CameraHelper::SetAutoFrameOnOff(bool on) { return NonZero(Words::kSetAutoFrameOnOff, Tool::Switch(on)); }
int CameraHelper::GetBrightness() { return Ask(Words::kGetBrightness).value_or(-1); }
bool CameraHelper::SetBrightness(int brightness) { return NonZero(Words::kSetBrightness, std::to_wstring(brightness)); }
bool CameraHelper::IsCameraSupported() const { return NonZero(Words::kIsCameraSupported); }

bool CameraHelper::SetCameraOnOff(bool on) {
    if (!IsCameraSupported()) {
        logger_->LogInfo(L"CameraHelper::SetCameraOnOff Camera not supported on this device");
        return false;
    }
    platform::Platform& platform = platform::Current();
    // The command as it fits a buffer of 260 characters.
    char command[260] = {};
    std::snprintf(command, sizeof command, "%s\\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam %d",
                  Core::Narrow(platform.Files().SystemFolder()).substr(0, 259).c_str(), on ? 1 : 0);
    if (platform.Processes().RunCommandProcessor(command) >= 0) {
        logger_->LogInfo(L"CameraHelper::SetCameraOnOff Registry value updated successfully.");
        return true;
    }
    logger_->LogError(L"CameraHelper::SetCameraOnOff Error SystemSettingsAdminFlows execute failed");
    return false;
}

int CameraHelper::SetZoom(Document* request, Document* response) {
    int zoom = 0;
    if (!Arguments::ReadInteger(request, zoom)) return Status::kArgumentCheckFailed;
    return Answer(response, [&] { return SetZoom(zoom); });
}

int CameraHelper::SetBrightness(Document* request, Document* response) {
    int brightness = 0;
    if (!Arguments::ReadInteger(request, brightness)) return Status::kArgumentCheckFailed;
    return Answer(response, [&] { return SetBrightness(brightness); });
}

int CameraHelper::SetBlurOnOff(Document* request, Document* response) {
    bool on = false;
    if (!Arguments::ReadSwitch(request, on)) return Status::kArgumentCheckFailed;
    return Answer(response, [&] { return SetBlurOnOff(on); });
}

int CameraHelper::SetAutoFrameOnOff(Document* request, Document* response) {
    bool on = false;
    if (!Arguments::ReadSwitch(request, on)) return Status::kArgumentCheckFailed;
    return Answer(response, [&] { return SetAutoFrameOnOff(on); });
}

int CameraHelper::SetCameraOnOff(Document* request, Document* response) {
    bool on = false;
    if (!Arguments::ReadSwitch(request, on)) return Status::kArgumentCheckFailed;
    return Answer(response, [&] { return SetCameraOnOff(on); });
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
