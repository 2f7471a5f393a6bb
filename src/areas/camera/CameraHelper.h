#pragma once
// The built-in camera's effects (zoom, background blur, automatic framing, brightness), changed
// through the device control tool in the user's session, and the system-wide camera switch,
// which the service sets itself with the system settings program.
#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

class CameraHelper {
public:
    using Document = Json::Document;

    static CameraHelper* GetInstance();

    CameraHelper& operator=(const CameraHelper&) = default;
    CameraHelper& operator=(CameraHelper&&) = default;

    // Typed operations: false or -1 when the tool fails, is untrusted or answers "-1".
    bool IsZoomSupported();
    int GetZoom();
    bool SetZoom(int zoom);
    bool IsBlurSupported();
    bool GetBlurOnOff();
    bool SetBlurOnOff(bool on);
    bool IsAutoFrameSupported();
    bool GetAutoFrameOnOff();
    bool SetAutoFrameOnOff(bool on);
    int GetBrightness();
    bool SetBrightness(int brightness);
    bool IsCameraSupported() const;
    // Runs "<system>\SystemSettingsAdminFlows.exe SetCamSystemGlobal webcam 1|0" in the service's
    // own context, when the tool says there is a camera.
    bool SetCameraOnOff(bool on);

    // JSON-facing, for the setters' rows: 0 with "result", or 0x20000006 without "IValue" (a
    // 32-bit integer, not range-checked: the ranges are the tool's business) or "BValue".
    int SetZoom(Document* request, Document* response);
    int SetBlurOnOff(Document* request, Document* response);
    int SetAutoFrameOnOff(Document* request, Document* response);
    int SetBrightness(Document* request, Document* response);
    int SetCameraOnOff(Document* request, Document* response);

private:
    CameraHelper();
    CameraHelper(const CameraHelper&) = default;

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
